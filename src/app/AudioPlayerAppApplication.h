#pragma once

#include "state/LogCollector.h"
#include "ui/SondrelLookAndFeel.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

namespace Marlode
{
class MainAudioAppComponent;
}

//==============================================================================
/** The application: data directory, crash handler, the one main window. Message thread. */
class AudioPlayerAppApplication : public juce::JUCEApplication
{
public:
    AudioPlayerAppApplication();
    ~AudioPlayerAppApplication() override;

    const juce::String getApplicationName() override { return "Marlode"; }
    const juce::String getApplicationVersion() override { return "1.2.0"; }
    // The framework's own lock is one file for the whole machine; the instance channel keeps
    // one instance per user instead.
    bool moreThanOneInstanceAllowed() override { return true; }

    void initialise (const juce::String& commandLine) override;
    void shutdown() override;
    void systemRequestedQuit() override;

    /** A later launch's paths, from the instance channel: recorded, then opened on the current deck. */
    void openHandedOverPaths (const juce::StringArray& paths);

    //==============================================================================
    class MainWindow : public juce::DocumentWindow
    {
    public:
        explicit MainWindow (const juce::String& name);
        ~MainWindow() override;

        void closeButtonPressed() override;
        void activeWindowStatusChanged() override;
        void minimisationStateChanged (bool isNowMinimised) override;

        [[nodiscard]] Marlode::MainAudioAppComponent* getContent() const;

        static constexpr int defaultWidth = 850;
        static constexpr int defaultHeight = 720;
        static constexpr int maximumSize = 16384; // pixels, either side

    private:
        Marlode::SondrelLookAndFeel lookAndFeel;
        juce::ComponentBoundsConstrainer constrainer;

        JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MainWindow)
    };

private:
    void openPaths (const juce::StringArray& paths);

    // Before the window, which shows its lines, and after it in destruction.
    Marlode::LogCollector logCollector;
    std::unique_ptr<MainWindow> mainWindow;
    int launchCount = 0;
};

/** The framework's factory for this application, for the entry point. */
juce::JUCEApplicationBase* createMarlodeApplication();

/** The entry point's body: hands over to a running instance, or runs the application. */
int runMarlode (int argc, const char* argv[]);
