#include "app/AudioPlayerAppApplication.h"
#include "app/AppGlobals.h"
#include "app/CrashHandler.h"
#include "app/InstanceChannel.h"
#include "engine/MainAudioAppComponent.h"
#include "ui/DesktopWindowComponent.h"

using namespace Marlode;

AudioPlayerAppApplication::AudioPlayerAppApplication() = default;
AudioPlayerAppApplication::~AudioPlayerAppApplication() = default;

void AudioPlayerAppApplication::initialise (const juce::String& commandLine)
{
    launchArguments.add (commandLine + " : #" + juce::String (launchCount));
    ++launchCount;

    mainWindow = std::make_unique<MainWindow> (getApplicationName());

    appDataDirectory = defaultAppDataDirectory();
    appDataDirectory.createDirectory();
    crashLogFile = appDataDirectory.getChildFile ("CrashLog.log");
    if (! crashLogFile.existsAsFile())
        crashLogFile.create();

    CrashHandler::install();

    // The window fits itself around its content from here on, so the content needs a size first.
    auto* content = new MainAudioAppComponent();
    content->setSize (MainWindow::defaultWidth, MainWindow::defaultHeight);
    mainWindow->setContentOwned (content, true);

    // Keys that reach no focused component arrive at the window itself.
    mainWindow->addKeyListener (content->commandManager.getKeyMappings());
    mainWindow->setResizable (true, false);
    mainWindow->centreWithSize (MainWindow::defaultWidth, MainWindow::defaultHeight);
    mainWindow->setVisible (true);
    mainDocumentWindow = mainWindow.get();

    if (auto& channel = InstanceChannel::forThisProcess())
        channel->startListening ([this] (const juce::String& line) { anotherInstanceStarted (line); });

    if (commandLine.isNotEmpty())
        content->openCommandLine (commandLine);
}

void AudioPlayerAppApplication::shutdown()
{
    mainDocumentWindow = nullptr;
    mainWindow = nullptr;
}

void AudioPlayerAppApplication::anotherInstanceStarted (const juce::String& commandLine)
{
    reopenArguments.add (commandLine + " : #" + juce::String (launchCount));
    ++launchCount;

    if (commandLine.isNotEmpty() && mainWindow != nullptr)
        if (auto* content = mainWindow->getContent())
            content->openCommandLine (commandLine);
}

void AudioPlayerAppApplication::systemRequestedQuit()
{
    if (mainWindow != nullptr)
        if (auto* content = mainWindow->getContent())
        {
            content->requestQuit();
            return;
        }

    quit();
}

//==============================================================================
AudioPlayerAppApplication::MainWindow::MainWindow (const juce::String& name)
    : juce::DocumentWindow (name, backgroundColour, 0)
{
    juce::LookAndFeel::setDefaultLookAndFeel (&lookAndFeel);
    setLookAndFeel (&lookAndFeel);

    // The content draws the window's bar; the window keeps only its resizing border.
    setUsingNativeTitleBar (false);
    setTitleBarHeight (0);

    constrainer.setMinimumSize (defaultWidth, defaultHeight);
    setConstrainer (&constrainer);
}

AudioPlayerAppApplication::MainWindow::~MainWindow()
{
    // The content writes its state and closes the audio before the decks go.
    clearContentComponent();
    setLookAndFeel (nullptr);
    juce::LookAndFeel::setDefaultLookAndFeel (nullptr);
}

void AudioPlayerAppApplication::MainWindow::closeButtonPressed()
{
    juce::JUCEApplication::getInstance()->systemRequestedQuit();
}

void AudioPlayerAppApplication::MainWindow::activeWindowStatusChanged()
{
    auto* content = getContent();

    if (content == nullptr)
        return;

    content->titleBar.setActive (isActiveWindow());

    if (isActiveWindow())
        if (auto* deck = content->getCurrentDeck())
            deck->restoreFocus();
}

void AudioPlayerAppApplication::MainWindow::minimisationStateChanged (bool isNowMinimised)
{
    if (! isNowMinimised)
        DesktopWindowComponent::restoreOpenWindows();
}

MainAudioAppComponent* AudioPlayerAppApplication::MainWindow::getContent() const
{
    return dynamic_cast<MainAudioAppComponent*> (getContentComponent());
}

//==============================================================================
juce::JUCEApplicationBase* createMarlodeApplication()
{
    return new AudioPlayerAppApplication();
}

int runMarlode (int argc, const char* argv[])
{
    juce::JUCEApplicationBase::createInstance = &createMarlodeApplication;

    auto& channel = InstanceChannel::forThisProcess();
    channel = std::make_unique<InstanceChannel> (defaultAppDataDirectory().getChildFile ("instance.sock"));
    const auto commandLine = InstanceChannel::makeCommandLine (argc, argv, juce::File::getCurrentWorkingDirectory());

    // The channel goes before the statics that count JUCE objects, on both ways out.
    const auto result = channel->claim (commandLine) == InstanceChannel::Role::handedOver
                            ? 0
                            : juce::JUCEApplicationBase::main (argc, argv);
    channel.reset();
    return result;
}
