#include "support/OutsideXml.h"

#include <gtest/gtest.h>

using namespace MarlodeTest;

namespace
{
juce::File corpus()
{
    return juce::File (__FILE__).getParentDirectory().getChildFile ("xml-corpus");
}
}

// Every input the fuzz target ever stopped on, and a minimised corpus of what it explored,
// replayed through the same reading function it runs.
TEST (XmlCorpus, EveryKeptInputIsReadOrRefusedWithoutBreakingAPromise)
{
    const auto files = corpus().findChildFiles (juce::File::findFiles, false);
    ASSERT_GT (files.size(), 5);
    int read = 0;

    for (const auto& file : files)
    {
        juce::MemoryBlock data;
        ASSERT_TRUE (file.loadFileAsData (data));
        const auto outcome = readOutsideXml (data.getData(), data.getSize());
        EXPECT_FALSE (outcome.startsWith ("broken:")) << file.getFileName() << ": " << outcome;
        read += outcome.startsWith ("refused:") ? 0 : 1;
    }

    EXPECT_GT (read, 0);
}
