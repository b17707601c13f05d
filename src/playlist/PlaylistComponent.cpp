#include "playlist/PlaylistComponent.h"
#include "app/AppGlobals.h"
#include "ui/Alerts.h"
#include "ui/PopupTextWindow.h"

namespace Marlode
{

PlaylistComponent::PlaylistComponent (juce::AudioFormatManager& formats) : formatManager (formats)
{
    setWantsKeyboardFocus (true);
}

void PlaylistComponent::addFiles (const juce::StringArray& files, bool loadFirst, bool appendToEnd, int insertAt)
{
    std::vector<PlaylistRow> added;
    juce::StringArray failed;

    for (const auto& path : files)
    {
        if (path.isEmpty() || ! juce::File::isAbsolutePath (path))
            continue;

        const juce::File file (path);
        std::unique_ptr<juce::AudioFormatReader> reader (formatManager.createReaderFor (file));

        if (reader == nullptr)
        {
            failed.add (path);
            continue;
        }

        PlaylistRow row;
        row.file = file;
        row.path = file.getFullPathName();
        row.fileName = file.getFileNameWithoutExtension();
        row.format = file.getFileExtension().fromFirstOccurrenceOf (".", false, false).toUpperCase();
        row.sampleRate = reader->sampleRate;
        row.bitsPerSample = (int) reader->bitsPerSample;
        row.numChannels = (int) reader->numChannels;
        row.lengthInSamples = reader->lengthInSamples;
        added.push_back (std::move (row));
    }

    const auto firstNew = (appendToEnd || insertAt < 0 || insertAt > (int) rows.size()) ? (int) rows.size() : insertAt;

    if (! added.empty())
    {
        rows.insert (rows.begin() + firstNew, added.begin(), added.end());

        if (currentRow >= firstNew)
            currentRow += (int) added.size();

        repaint();
    }

    if (! failed.isEmpty())
    {
        const auto n = failed.size();
        const auto message = juce::String (n) + (n == 1 ? " file" : " files") + " you selected could not be read."
                             + "\n\nShow a list of these files?";

        Alerts::question ("Error reading files", message, [failed] (bool yes)
                          {
                              if (! yes)
                                  return;

                              juce::String list ("A valid audio format reader could not be created for the following files. \n"
                                                 "To reach this point the file type must be a valid format but is not readable, "
                                                 "the file is possibly corrupted. \n\n");
                              for (const auto& f : failed)
                                  list << f << "\r\n";

                              new PopupTextWindow ("Invalid Files", list, mainDocumentWindow);
                          });
    }

    if (loadFirst && ! added.empty())
        selectRow (firstNew);
}

void PlaylistComponent::markLoaded (int row)
{
    for (auto& r : rows)
        r.isLoaded = false;

    currentRow = row;

    if (juce::isPositiveAndBelow (row, (int) rows.size()))
        rows[(size_t) row].isLoaded = true;

    repaint();
}

void PlaylistComponent::selectRow (int row)
{
    if (! juce::isPositiveAndBelow (row, (int) rows.size()))
        return;

    markLoaded (row);
    sendActionMessage ("New Track Selected");
}

void PlaylistComponent::clear()
{
    const bool hadLoaded = juce::isPositiveAndBelow (currentRow, (int) rows.size());
    rows.clear();
    currentRow = -1;
    playingIndicator = false;

    if (hadLoaded)
        sendActionMessage ("Current Track Deleted");

    repaint();
}

const PlaylistRow* PlaylistComponent::getRow (int row) const noexcept
{
    return juce::isPositiveAndBelow (row, (int) rows.size()) ? &rows[(size_t) row] : nullptr;
}

juce::String PlaylistComponent::getCurrentRowPath() const
{
    if (auto* row = getRow (currentRow))
        return row->path;

    return {};
}

bool PlaylistComponent::isRowPlayable (int row) const
{
    auto* r = getRow (row);
    return r != nullptr && r->file.existsAsFile();
}

juce::String PlaylistComponent::moveCurrentRow (int delta)
{
    const auto target = currentRow + delta;

    if (! isRowPlayable (target))
        return {};

    markLoaded (target);
    return rows[(size_t) target].path;
}

juce::String PlaylistComponent::nextPlayableFile()
{
    for (int row = currentRow + 1; row < (int) rows.size(); ++row)
        if (isRowPlayable (row))
        {
            markLoaded (row);
            return rows[(size_t) row].path;
        }

    return {};
}

void PlaylistComponent::setPlayingIndicator (bool isPlaying)
{
    playingIndicator = isPlaying;
    repaint();
}

void PlaylistComponent::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colour (0xff0f0f0f));
    g.setFont (juce::Font ((float) rowHeight * 0.6f));

    for (int i = 0; i < (int) rows.size(); ++i)
    {
        const juce::Rectangle<int> area (0, i * rowHeight, getWidth(), rowHeight);

        if (area.getY() > getHeight())
            break;

        if (rows[(size_t) i].isLoaded)
        {
            g.setColour (playingIndicator ? juce::Colour (0xff008000) : juce::Colour (0xff4b4b4b));
            g.fillRect (area);
        }

        g.setColour (juce::Colour (0xfff5f5f5));
        g.drawText (juce::String (i + 1) + "   " + rows[(size_t) i].fileName, area.reduced (6, 0),
                    juce::Justification::centredLeft, true);
    }
}

void PlaylistComponent::mouseDoubleClick (const juce::MouseEvent& e)
{
    selectRow (e.y / rowHeight);
}

void PlaylistComponent::focusGained (FocusChangeType) { sendActionMessage ("Focus Changed"); }
void PlaylistComponent::focusLost (FocusChangeType) { sendActionMessage ("Focus Changed"); }

} // namespace Marlode
