#include "app/AudioPlayerAppApplication.h"
#include "app/AppGlobals.h"
#include "app/CrashHandler.h"
#include "app/InstanceChannel.h"
#include "app/MainAudioAppComponent.h"
#include "playlist/PlaylistComponent.h"
#include "ui/DesktopWindowComponent.h"

#include <iostream>

using namespace Marlode;

AudioPlayerAppApplication::AudioPlayerAppApplication() = default;
AudioPlayerAppApplication::~AudioPlayerAppApplication() = default;

void AudioPlayerAppApplication::initialise (const juce::String& commandLine)
{
    launchArguments.add (commandLine + " : #" + juce::String (launchCount));
    ++launchCount;
    juce::Logger::setCurrentLogger (&logCollector);

    mainWindow = std::make_unique<MainWindow> (getApplicationName());

    appDataDirectory = defaultAppDataDirectory();
    appDataDirectory.createDirectory();
    crashLogFile = appDataDirectory.getChildFile ("CrashLog.log");
    if (! crashLogFile.existsAsFile())
        crashLogFile.create();

    CrashHandler::install();

    // The window fits itself around its content from here on, so the content needs a size first.
    auto* content = new MainAudioAppComponent (true, appDataDirectory.getChildFile ("PreviousState.cfg"));

    if (const auto scale = content->storedSettings.getDouble (StoredSettings::displayScale, 0.0);
        SettingsComponent::appliesAtStart (scale))
        juce::Desktop::getInstance().setGlobalScaleFactor ((float) scale);

    content->setSize (MainWindow::defaultWidth, MainWindow::defaultHeight);
    mainWindow->setContentOwned (content, true);

    // Keys that reach no focused component arrive at the window itself.
    mainWindow->addKeyListener (content->commandManager.getKeyMappings());
    mainWindow->setResizable (true, false);
    if (content->windowState.isEmpty() || ! mainWindow->restoreWindowStateFromString (content->windowState))
        mainWindow->centreWithSize (MainWindow::defaultWidth, MainWindow::defaultHeight);
    mainWindow->setVisible (true);
    mainDocumentWindow = mainWindow.get();
    content->logLines = [this] { return logCollector.getText(); };
    content->welcome.showIfWanted();

    if (auto& channel = InstanceChannel::forThisProcess())
        channel->setReceiver ([this] (const juce::StringArray& paths) { openHandedOverPaths (paths); });

    openPaths (InstanceChannel::absolutePaths (getCommandLineParameterArray(), juce::File::getCurrentWorkingDirectory()));
}

void AudioPlayerAppApplication::shutdown()
{
    // No launch is handed to a window that is going.
    if (auto& channel = InstanceChannel::forThisProcess())
        channel->shutdown();

    mainDocumentWindow = nullptr;
    mainWindow = nullptr;
    juce::Logger::setCurrentLogger (nullptr);
}

void AudioPlayerAppApplication::openHandedOverPaths (const juce::StringArray& paths)
{
    reopenArguments.add (paths.joinIntoString (" ") + " : #" + juce::String (launchCount));
    ++launchCount;

    openPaths (paths);
}

void AudioPlayerAppApplication::openPaths (const juce::StringArray& paths)
{
    if (paths.isEmpty() || mainWindow == nullptr)
        return;

    if (auto* content = mainWindow->getContent())
        content->openFiles (PlaylistComponent::filesFromPaths (paths));
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
AudioPlayerAppApplication::MainWindow::MainWindow (const juce::String& name) : juce::DocumentWindow (name, backgroundColour, 0)
{
    juce::LookAndFeel::setDefaultLookAndFeel (&lookAndFeel);
    setLookAndFeel (&lookAndFeel);

    // The content draws the window's bar; the window keeps only its resizing border.
    setUsingNativeTitleBar (false);
    setTitleBarHeight (0);

    constrainer.setMinimumSize (defaultWidth, defaultHeight);

    // A stored window state is outside text: no window larger than any screen, whatever it says.
    constrainer.setMaximumSize (maximumSize, maximumSize);
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

    // The same arguments the framework gives getCommandLineParameterArray().
    juce::StringArray arguments;
    for (int i = 1; i < argc; ++i)
        arguments.add (juce::CharPointer_UTF8 (argv[i]));

    auto& channel = InstanceChannel::forThisProcess();
    channel = std::make_unique<InstanceChannel> (defaultAppDataDirectory().getChildFile ("instance.sock"));

    // The channel goes before the statics that count JUCE objects, on every way out.
    auto result = 0;

    switch (channel->claim (InstanceChannel::absolutePaths (arguments, juce::File::getCurrentWorkingDirectory())))
    {
        case InstanceChannel::Role::handedOver: break;

        case InstanceChannel::Role::refused:
            std::cerr << "Marlode: the running instance refused the files of this launch" << std::endl;
            result = 1;
            break;

        case InstanceChannel::Role::first:
        case InstanceChannel::Role::unavailable: result = juce::JUCEApplicationBase::main (argc, argv); break;
    }

    channel.reset();
    return result;
}
