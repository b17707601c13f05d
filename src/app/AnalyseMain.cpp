// marlode-analyse: the playlist's track analysis from the command line, several files at once.
#include "engine/SharedFormatManager.h"
#include "engine/TrackAnalysis.h"

#include <juce_core/juce_core.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace Marlode;

namespace
{
enum class Form
{
    table,
    csv,
    json
};

struct Column
{
    const char* heading; // the table's
    const char* key;     // CSV's and JSON's
    double (*value) (const TrackAnalysisResults&);
};

const Column columns[] = {
    { "LUFS", "integrated_lufs", [] (const TrackAnalysisResults& r) { return (double) r.lufs; } },
    { "LRA", "loudness_range_lu", [] (const TrackAnalysisResults& r) { return (double) r.loudnessRange; } },
    { "dBTP", "true_peak_dbtp", [] (const TrackAnalysisResults& r) { return (double) r.truePeakMax; } },
    { "RMS L", "rms_left_db", [] (const TrackAnalysisResults& r) { return r.rmsLeft; } },
    { "RMS R", "rms_right_db", [] (const TrackAnalysisResults& r) { return r.rmsRight; } },
    { "RMS St", "rms_stereo_db", [] (const TrackAnalysisResults& r) { return r.rmsStereo; } },
    { "Peak L", "peak_left_db", [] (const TrackAnalysisResults& r) { return r.peakLeft; } },
    { "Peak R", "peak_right_db", [] (const TrackAnalysisResults& r) { return r.peakRight; } },
};

// JSON only: the panel doesn't show them, the loudness conformance cases need them.
const Column jsonOnlyColumns[] = {
    { "M max", "momentary_max_lufs", [] (const TrackAnalysisResults& r) { return (double) r.momentaryMax; } },
    { "S max", "short_term_max_lufs", [] (const TrackAnalysisResults& r) { return (double) r.shortTermMax; } },
};

constexpr int columnWidth = 9;

const char* usage = "Usage: marlode-analyse [--json|--csv] FILE...\n"
                    "Measures each audio file (mono or stereo) and prints, in the order given: integrated loudness (LUFS),\n"
                    "loudness range (LU), true-peak maximum (dBTP), RMS left, right and stereo (dB, the mean of 512-sample\n"
                    "blocks) and sample peak left and right (dB), with two decimals; -100.00 is silence or no channel.\n"
                    "Files are measured in parallel, one per core. A file that can't be measured is reported on stderr\n"
                    "and left out of the output, and the exit status is then 1.\n"
                    "  --csv    comma-separated values with a header line\n"
                    "  --json   a JSON array of objects, with the maximum momentary and short-term loudness besides\n"
                    "  --help   this text\n";

/** One file of the command line, filled by a worker and printed by the main thread. */
struct Job
{
    juce::String name; // as given on the command line
    juce::File file;
    TrackAnalysisResults results;
    // Written by the worker once `results` is complete, read by the main thread before it reads them.
    std::atomic<bool> done { false };
};

/** The guard's log lines would repeat what this program says of a refused file. */
class SilentLogger : public juce::Logger
{
    void logMessage (const juce::String&) override {}
};

juce::String number (double value)
{
    return juce::String (value, 2);
}

juce::String row (Form form, const Job& job)
{
    juce::String line;

    if (form == Form::table)
    {
        for (const auto& c : columns)
            line << number (c.value (job.results)).paddedLeft (' ', columnWidth);
        return line << "  " << job.name << "\n";
    }

    if (form == Form::csv)
    {
        line << "\"" << job.name.replace ("\"", "\"\"") << "\"";
        for (const auto& c : columns)
            line << "," << number (c.value (job.results));
        return line << "\n";
    }

    line << "  {\"file\": " << juce::JSON::toString (job.name) << ", \"channels\": " << job.results.numChannels;
    for (const auto& c : columns)
        line << ", \"" << c.key << "\": " << number (c.value (job.results));
    for (const auto& c : jsonOnlyColumns)
        line << ", \"" << c.key << "\": " << number (c.value (job.results));
    return line << "}";
}

juce::String header (Form form)
{
    juce::String line;

    if (form == Form::table)
    {
        for (const auto& c : columns)
            line << juce::String (c.heading).paddedLeft (' ', columnWidth);
        return line << "  File\n";
    }

    if (form == Form::csv)
    {
        line << "file";
        for (const auto& c : columns)
            line << "," << c.key;
        return line << "\n";
    }

    return "[";
}

void write (FILE* stream, const juce::String& text)
{
    std::fputs (text.toRawUTF8(), stream);
    std::fflush (stream);
}

int analyseAll (Form form, std::vector<std::unique_ptr<Job>>& jobs)
{
    const auto numWorkers = (size_t) std::clamp (juce::SystemStats::getNumCpus(), 1, (int) jobs.size());
    std::vector<std::unique_ptr<TrackAnalysis>> analysers;
    // Written by each worker as it takes a file, read by the main thread for the progress line.
    std::vector<std::atomic<int>> current (numWorkers);
    std::atomic<size_t> next { 0 };
    std::vector<std::thread> workers;

    for (size_t w = 0; w < numWorkers; ++w)
    {
        analysers.push_back (std::make_unique<TrackAnalysis>());
        current[w].store (-1, std::memory_order_relaxed);
        workers.emplace_back (
            [&, w]
            {
                SharedFormatManager formats;

                for (auto i = next.fetch_add (1); i < jobs.size(); i = next.fetch_add (1))
                {
                    current[w].store ((int) i, std::memory_order_relaxed);
                    jobs[i]->results = analysers[w]->analyse (formats, jobs[i]->file);
                    jobs[i]->done.store (true, std::memory_order_release);
                }

                current[w].store (-1, std::memory_order_relaxed);
            });
    }

    const bool showProgress = isatty (STDERR_FILENO) != 0;
    bool progressShown = false;
    int failures = 0, rowsWritten = 0;
    size_t printed = 0;

    write (stdout, header (form));

    while (printed < jobs.size())
    {
        if (! jobs[printed]->done.load (std::memory_order_acquire))
        {
            if (showProgress)
            {
                double inFlight = 0.0;
                for (size_t w = 0; w < numWorkers; ++w)
                    if (current[w].load (std::memory_order_relaxed) >= (int) printed)
                        inFlight += analysers[w]->getProgress();

                const auto percent = juce::roundToInt (100.0 * ((double) printed + inFlight) / (double) jobs.size());
                write (stderr, "\rAnalysed " + juce::String (printed) + " of " + juce::String (jobs.size()) + " files ("
                                   + juce::String (juce::jmin (percent, 100)) + "%)\033[K");
                progressShown = true;
            }

            std::this_thread::sleep_for (std::chrono::milliseconds (50));
            continue;
        }

        if (progressShown)
        {
            write (stderr, "\r\033[K");
            progressShown = false;
        }

        const auto& job = *jobs[printed++];

        if (job.results.measured())
        {
            const auto separator = form != Form::json ? "" : rowsWritten > 0 ? ",\n" : "\n";
            write (stdout, separator + row (form, job));
            ++rowsWritten;
        }
        else
        {
            write (stderr, "marlode-analyse: " + job.name + ": " + job.results.error + "\n");
            ++failures;
        }
    }

    if (form == Form::json)
        write (stdout, "\n]\n");

    for (auto& worker : workers)
        worker.join();

    return failures == 0 ? 0 : 1;
}
} // namespace

int main (int argc, char* argv[])
{
    auto form = Form::table;
    std::vector<std::unique_ptr<Job>> jobs;
    bool optionsEnded = false;

    for (int i = 1; i < argc; ++i)
    {
        const juce::String arg (juce::CharPointer_UTF8 (argv[i]));

        if (! optionsEnded && arg.startsWith ("-") && arg != "-")
        {
            if (arg == "--help" || arg == "-h")
            {
                write (stdout, usage);
                return 0;
            }

            if (arg == "--csv")
                form = Form::csv;
            else if (arg == "--json")
                form = Form::json;
            else if (arg == "--")
                optionsEnded = true;
            else
            {
                write (stderr, "marlode-analyse: unknown option " + arg + "\n" + usage);
                return 2;
            }

            continue;
        }

        auto job = std::make_unique<Job>();
        job->name = arg;
        job->file = juce::File::getCurrentWorkingDirectory().getChildFile (arg);
        jobs.push_back (std::move (job));
    }

    if (jobs.empty())
    {
        write (stderr, juce::String ("marlode-analyse: no file given\n") + usage);
        return 2;
    }

    SilentLogger silent;
    juce::Logger::setCurrentLogger (&silent);
    const auto status = analyseAll (form, jobs);
    juce::Logger::setCurrentLogger (nullptr);
    return status;
}
