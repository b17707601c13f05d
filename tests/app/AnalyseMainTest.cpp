// The marlode-analyse binary run on files made here: the order kept across parallel workers,
// the three output forms, and a refused file reported without stopping the others.
#include "engine/SharedFormatManager.h"
#include "engine/TrackAnalysis.h"

#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
struct Run
{
    int exitCode = -1;
    juce::String out, err;
};

Run runAnalyse (const juce::File& folder, const juce::String& arguments)
{
    const auto errFile = folder.getChildFile ("stderr.txt");
    juce::ChildProcess process;
    Run run;

    if (! process.start (juce::StringArray { "/bin/sh", "-c",
                                             "cd '" + folder.getFullPathName() + "' && exec '" MARLODE_ANALYSE_BINARY "' "
                                                 + arguments + " 2>'" + errFile.getFullPathName() + "'" },
                         juce::ChildProcess::wantStdOut))
        return run;

    run.out = process.readAllProcessOutput();
    process.waitForProcessToFinish (60000);
    run.exitCode = (int) process.getExitCode();
    run.err = errFile.loadFileAsString();
    return run;
}

// The values TrackAnalysis gives, in the program's column order and with its two decimals.
juce::StringArray expectedValues (const juce::File& file)
{
    SharedFormatManager formats;
    TrackAnalysis analysis;
    const auto r = analysis.analyse (formats, file);
    juce::StringArray values;

    for (double v : { (double) r.lufs, (double) r.loudnessRange, (double) r.truePeakMax, r.rmsLeft, r.rmsRight, r.rmsStereo,
                      r.peakLeft, r.peakRight })
        values.add (juce::String (v, 2));

    return values;
}
} // namespace

TEST (MarlodeAnalyse, MeasuresEachFileInTheGivenOrderAndReportsTheUnreadable)
{
    MarlodeTest::TempFolder folder;
    const auto rate = 44100.0;
    MarlodeTest::writeWav (folder.file ("noise.wav"), rate, 2, (int) (6 * rate), MarlodeTest::noise);
    MarlodeTest::writeWav (folder.file ("tone.wav"), rate, 1, (int) (4 * rate),
                           [&] (int, int i)
                           { return (float) (0.25 * std::sin (2.0 * juce::MathConstants<double>::pi * 440.0 * i / rate)); });
    MarlodeTest::writeWav (folder.file ("quiet.wav"), rate, 2, 300, [] (int c, int) { return c == 0 ? 0.01f : -0.02f; });
    folder.file ("broken.wav").replaceWithText ("not audio at all");

    const juce::StringArray order { "tone.wav", "noise.wav", "broken.wav", "quiet.wav", "noise.wav" };
    const auto files = order.joinIntoString (" ");
    std::map<juce::String, juce::StringArray> expected;
    for (const auto& name : order)
        if (name != "broken.wav")
            expected[name] = expectedValues (folder.file (name));

    const auto csv = runAnalyse (folder.folder, "--csv " + files);
    EXPECT_NE (csv.exitCode, 0);
    EXPECT_TRUE (csv.err.contains ("broken.wav")) << csv.err;
    EXPECT_FALSE (csv.err.contains ("noise.wav")) << csv.err;

    auto lines = juce::StringArray::fromLines (csv.out.trimEnd());
    ASSERT_EQ (lines.size(), 5) << csv.out;
    EXPECT_EQ (lines[0], "file,integrated_lufs,loudness_range_lu,true_peak_dbtp,rms_left_db,rms_right_db,rms_stereo_db,"
                         "peak_left_db,peak_right_db");
    int line = 1;
    for (const auto& name : order)
    {
        if (name == "broken.wav")
            continue;
        juce::StringArray fields;
        fields.addTokens (lines[line++], ",", "\"");
        ASSERT_EQ (fields.size(), 9);
        EXPECT_EQ (fields[0].unquoted(), name);
        fields.remove (0);
        EXPECT_EQ (fields, expected[name]) << name;
    }

    const auto json = runAnalyse (folder.folder, "--json " + files);
    EXPECT_NE (json.exitCode, 0);
    const auto parsed = juce::JSON::parse (json.out);
    ASSERT_TRUE (parsed.isArray()) << json.out;
    ASSERT_EQ (parsed.size(), 4);
    EXPECT_EQ (parsed[0]["file"].toString(), "tone.wav");
    EXPECT_EQ ((int) parsed[0]["channels"], 1);
    EXPECT_EQ (parsed[2]["file"].toString(), "quiet.wav");
    EXPECT_EQ (juce::String ((double) parsed[2]["rms_stereo_db"], 2), expected["quiet.wav"][5]);
    EXPECT_EQ (juce::String ((double) parsed[3]["integrated_lufs"], 2), expected["noise.wav"][0]);

    const auto table = runAnalyse (folder.folder, "tone.wav quiet.wav");
    EXPECT_EQ (table.exitCode, 0) << table.err;
    lines = juce::StringArray::fromLines (table.out.trimEnd());
    ASSERT_EQ (lines.size(), 3) << table.out;
    EXPECT_TRUE (lines[1].endsWith ("  tone.wav"));
    EXPECT_TRUE (lines[2].startsWith (expected["quiet.wav"][0].paddedLeft (' ', 9)));

    const auto help = runAnalyse (folder.folder, "--help");
    EXPECT_EQ (help.exitCode, 0);
    EXPECT_TRUE (help.out.startsWith ("Usage: marlode-analyse"));
    EXPECT_EQ (runAnalyse (folder.folder, "--bogus tone.wav").exitCode, 2);
}
