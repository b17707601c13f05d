#include "state/AtomicFile.h"

namespace Marlode
{

bool AtomicFile::replaceWithData (const juce::File& file, const void* data, size_t numBytes)
{
    if (file.isDirectory() || ! file.getParentDirectory().isDirectory())
        return false;

    const juce::TemporaryFile temp (file, juce::TemporaryFile::useHiddenFile);

    {
        juce::FileOutputStream out (temp.getFile());

        if (! out.openedOk() || ! out.write (data, numBytes))
            return false;

        out.flush();

        if (out.getStatus().failed())
            return false;
    }

    return temp.overwriteTargetFileWithTemporary();
}

} // namespace Marlode
