#include "support/DeckHarness.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

TEST (Alerts, FileListsAgreeWithTheCountAndKeepTheirCap)
{
    AlertRecorder alerts;
    alerts.answer = true;
    const Alerts::FileListQuestion words { "Q", " {is|are} odd.", "!", "L", "{This one:|These:}\n", false };

    Alerts::askToListFiles (words, {}, nullptr);
    EXPECT_TRUE (alerts.shown.empty()) << "no files, no question";

    Alerts::askToListFiles (words, { "/a" }, nullptr);
    ASSERT_EQ (alerts.shown.size(), 2u);
    EXPECT_EQ (alerts.shown[0].message, "1 file is odd.\n\nShow a list of these files?!");
    EXPECT_EQ (alerts.shown[1].kind, "warning");
    EXPECT_EQ (alerts.shown[1].message, "This one:\n/a\r\n");

    // A hostile list: only the first hundred paths, each cut, then what was left out.
    juce::StringArray paths;
    paths.add ("/" + juce::String::repeatedString ("x", 5000));
    for (int i = 1; i < 250; ++i)
        paths.add ("/p" + juce::String (i));

    alerts.shown.clear();
    Alerts::askToListFiles (words, paths, nullptr);
    ASSERT_EQ (alerts.shown.size(), 2u);
    EXPECT_EQ (alerts.shown[0].message, "250 files are odd.\n\nShow a list of these files?!");

    const auto& list = alerts.shown[1].message;
    EXPECT_TRUE (list.startsWith ("These:\n/" + juce::String::repeatedString ("x", 999) + "...\r\n/p1\r\n"));
    EXPECT_TRUE (list.endsWith ("/p99\r\nand 150 more\r\n"));
    EXPECT_FALSE (list.contains ("/p100\r\n"));

    alerts.shown.clear();
    alerts.answer = false;
    Alerts::askToListFiles (words, paths, nullptr);
    EXPECT_EQ (alerts.shown.size(), 1u) << "no list unless asked for";
}
