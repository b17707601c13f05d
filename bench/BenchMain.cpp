// Runs every benchmark, then prints each group's speed as a ratio to its baseline.
#include <benchmark/benchmark.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <map>

namespace
{
// The runs compared, each with the baseline it is divided by, and the value compared.
struct Comparison
{
    const char* run;
    const char* baseline;
    const char* what;
};

const Comparison comparisons[] = {
    { "DeckAndMasterPath", "BaselineJuceTransport", "realtime_factor" },
    // At least 0.5: the block that follows a wrap or a seek costs no more than two ordinary ones.
    { "BlockAfterAWrap", "DeckAndMasterPath", "realtime_factor" },
    { "BlockAfterASeek", "DeckAndMasterPath", "realtime_factor" },
    { "Loudness", "Libebur128Loudness", "items_per_second" },
    { "TruePeak", "Libebur128TruePeak", "items_per_second" },
    { "ThumbnailOfAnHour", "ReadAnHour", "seconds" },
    { "AddFiles2000", "OpenReaders2000", "seconds" },
    { "OpenPlaylist2000", "OpenReaders2000", "seconds" },
    { "EightBandEqualiser", "EightJuceIIRFilters", "realtime_factor" },
    { "PeakLimiterStereo", "NaiveWindowScanLimiter", "realtime_factor" },
    { "TimeStretcherAt1", "RubberBandAt1", "realtime_factor" },
    { "TimeStretcherAt1_5", "RubberBandAt1_5", "realtime_factor" },
    // At least 1 / 1.2: with everything else on, the path costs at most 1.2 times the stretcher.
    { "EverythingWithStretcherAt1_5", "TimeStretcherAt1_5", "realtime_factor" },
    // Measuring a file on one core: against decoding it alone (the floor), and against
    // libebur128; the program on four files against one (the speed-up is four times this).
    { "AnalyseOneCore", "AnalyseDecodeFloor", "realtime_factor" },
    { "AnalyseOneCore", "Libebur128LoudnessAndTruePeak", "realtime_factor" },
    { "AnalyseProgramFourFiles", "AnalyseProgramOneFile", "realtime_factor" },
    // Rendering a file: against reading and writing it (the floor), and against sox.
    { "ExportRender", "ExportCopyFloor", "realtime_factor" },
    { "ExportRender", "SoxEightEqualisers", "realtime_factor" },
};

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns (const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns (runs);

        for (const auto& run : runs)
        {
            // Repeated runs report their median; single runs themselves.
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median")
                continue;

            const auto name = run.run_name.function_name;
            for (const auto& [counter, value] : run.counters)
                values[name][counter] = value.value;
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf ("\n%-22s %-24s %-18s %16s %16s %8s\n", "run", "baseline", "measure", "run", "baseline", "ratio");

        for (const auto& c : comparisons)
        {
            const auto run = values[c.run][c.what], base = values[c.baseline][c.what];
            std::printf ("%-22s %-24s %-18s %16.4g %16.4g %7.2fx\n", c.run, c.baseline, c.what, run, base,
                         base > 0.0 ? run / base : 0.0);
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> values;
};
}

int main (int argc, char** argv)
{
    juce::ScopedJuceInitialiser_GUI juce;
    benchmark::Initialize (&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks (&reporter);
    benchmark::Shutdown();
    return 0;
}
