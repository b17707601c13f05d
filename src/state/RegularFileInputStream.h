#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

//==============================================================================
/**
    Reads a file from outside the program only when it is a plain regular file at the moment it
    is opened.

    The open never blocks: a FIFO swapped in after some earlier look would otherwise wait for a
    writer forever. The type and size come from the opened descriptor, so what was checked is
    what is read. Reads past the size seen at the open return nothing. One thread at a time.
*/
class RegularFileInputStream : public juce::InputStream
{
public:
    explicit RegularFileInputStream (const juce::File&);
    ~RegularFileInputStream() override;

    /** False, with getError saying why, when the file is missing, unreadable or not a regular file. */
    [[nodiscard]] bool openedOk() const noexcept { return descriptor >= 0; }
    [[nodiscard]] const juce::String& getError() const noexcept { return error; }

    juce::int64 getTotalLength() override { return size; }
    bool isExhausted() override { return position >= size; }
    int read (void* destBuffer, int maxBytesToRead) override;
    juce::int64 getPosition() override { return position; }
    bool setPosition (juce::int64 newPosition) override;

private:
    int descriptor = -1;
    juce::int64 size = 0, position = 0;
    juce::String error;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (RegularFileInputStream)
};

} // namespace Marlode
