// marlode-conformance: makes the EBU Tech 3341 and Tech 3342 stereo test signals, measures them with
// marlode-analyse and prints a table of expected against measured values.
//
//   marlode-conformance [--markdown] PATH/TO/marlode-analyse
//
// The signals are written as 32-bit float WAV files into a temporary folder, removed afterwards. The
// exit status is 0 when every case passes.
#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_core/juce_core.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace
{
/** A stretch of one level. A sine's phase runs on across segments: the levels step with no gap and no fade. */
struct Segment
{
    double dbfs;
    double seconds;
};

struct Check
{
    const char* key; // marlode-analyse's JSON key
    const char* quantity;
    double expected, below, above; // tolerance: expected - below ... expected + above
};

struct Case
{
    juce::String name;
    juce::String signal;
    // Sample n of the signal at `rate`; the same value on both channels.
    std::function<float (juce::int64 n, double rate)> sample;
    double seconds;
    std::vector<Check> checks;
};

constexpr double twoPi = juce::MathConstants<double>::twoPi;

double gainOf (double dbfs)
{
    return std::pow (10.0, dbfs / 20.0);
}

/** A 1 kHz sine whose peak steps through the segments, `repeats` times over. */
Case levels (juce::String name, std::vector<Segment> segments, int repeats, std::vector<Check> checks)
{
    double period = 0.0;
    juce::StringArray parts;
    for (const auto& s : segments)
    {
        period += s.seconds;
        parts.add (juce::String (s.dbfs, 0) + " dBFS " + juce::String (s.seconds) + " s");
    }

    auto signal = "1 kHz sine, " + parts.joinIntoString (", ");
    if (repeats > 1)
        signal = juce::String (repeats) + " x (" + signal + ")";

    auto sample = [segments, period] (juce::int64 n, double rate)
    {
        auto t = std::fmod ((double) n / rate, period);
        auto gain = 0.0;
        for (const auto& s : segments)
        {
            gain = gainOf (s.dbfs);
            if (t < s.seconds)
                break;
            t -= s.seconds;
        }
        return (float) (gain * std::sin (twoPi * 1000.0 * (double) n / rate));
    };

    return { std::move (name), signal, sample, period * repeats, std::move (checks) };
}

/** A sine at rate / divisor whose samples miss its crest by the phase; the crest at `crestDb`. It fades
    in and out over 20 ms: a sine switched on at full level overshoots its crest at the switch, in any
    true reconstruction, and the case is about the steady tone. */
Case truePeak (juce::String name, int divisor, double phaseDegrees, double crestDb, double expected)
{
    constexpr double seconds = 5.0, fade = 0.02;

    const auto signal = "sine at fs/" + juce::String (divisor) + ", phase " + juce::String (phaseDegrees) + " deg, crest "
                        + juce::String (crestDb, 2) + " dBFS";

    auto sample = [=] (juce::int64 n, double rate)
    {
        const auto t = (double) n / rate;
        const auto edge = juce::jlimit (0.0, 1.0, juce::jmin (t, seconds - t) / fade);
        const auto envelope = 0.5 - 0.5 * std::cos (juce::MathConstants<double>::pi * edge);
        const auto phase = twoPi * (double) (n % divisor) / divisor + juce::degreesToRadians (phaseDegrees);
        return (float) (envelope * gainOf (crestDb) * std::sin (phase));
    };

    return { std::move (name), signal, sample, seconds, { { "true_peak_dbtp", "TP", expected, 0.4, 0.2 } } };
}

std::vector<Case> cases()
{
    const auto lu = [] (const char* key, const char* quantity, double expected) {
        return Check { key, quantity, expected, 0.1, 0.1 };
    };
    const auto integrated = [&] (double expected) { return lu ("integrated_lufs", "I", expected); };
    const auto range = [] (double expected) { return Check { "loudness_range_lu", "LRA", expected, 1.0, 1.0 }; };

    // The fs/4 sine at 45 degrees whose samples reach full scale has its crest at +3.01 dBFS.
    const auto fullScaleCrest = 20.0 * std::log10 (std::sqrt (2.0));

    return {
        levels ("3341 case 1", { { -23, 20 } }, 1,
                { lu ("momentary_max_lufs", "M", -23), lu ("short_term_max_lufs", "S", -23), integrated (-23) }),
        levels ("3341 case 2", { { -33, 20 } }, 1,
                { lu ("momentary_max_lufs", "M", -33), lu ("short_term_max_lufs", "S", -33), integrated (-33) }),
        levels ("3341 case 3", { { -36, 10 }, { -23, 60 }, { -36, 10 } }, 1, { integrated (-23) }),
        levels ("3341 case 4", { { -72, 10 }, { -36, 10 }, { -23, 60 }, { -36, 10 }, { -72, 10 } }, 1, { integrated (-23) }),
        levels ("3341 case 5", { { -26, 20 }, { -20, 20.1 }, { -26, 20 } }, 1, { integrated (-23) }),
        levels ("3341 case 9", { { -20, 1.34 }, { -30, 1.66 } }, 20, { lu ("short_term_max_lufs", "S", -23) }),
        levels ("3341 case 12", { { -20, 0.18 }, { -30, 0.22 } }, 25, { lu ("momentary_max_lufs", "M", -23) }),
        truePeak ("3341 true peak fs/4", 4, 45.0, -6.0, -6.0),
        truePeak ("3341 true peak fs/6", 6, 60.0, -6.0, -6.0),
        truePeak ("3341 true peak fs/8", 8, 67.5, -6.0, -6.0),
        truePeak ("3341 true peak fs/4, full-scale samples", 4, 45.0, fullScaleCrest, 3.0),
        levels ("3342 case 1", { { -20, 20 }, { -30, 20 } }, 1, { range (10) }),
        levels ("3342 case 2", { { -20, 20 }, { -15, 20 } }, 1, { range (5) }),
        levels ("3342 case 3", { { -40, 20 }, { -20, 20 } }, 1, { range (20) }),
        levels ("3342 case 4", { { -50, 20 }, { -35, 20 }, { -20, 20 }, { -35, 20 }, { -50, 20 } }, 1, { range (15) }),
    };
}

bool writeSignal (const Case& c, double rate, const juce::File& file)
{
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::OutputStream> stream = std::make_unique<juce::FileOutputStream> (file);
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (stream.get(), rate, 2, 32, {}, 0)); // 32 bits: float, no rounding of the levels
    if (writer == nullptr)
        return false;
    stream.release();

    const auto total = (juce::int64) std::llround (c.seconds * rate);
    juce::AudioBuffer<float> block (2, 4096);

    for (juce::int64 start = 0; start < total; start += block.getNumSamples())
    {
        const auto n = (int) juce::jmin ((juce::int64) block.getNumSamples(), total - start);
        for (int i = 0; i < n; ++i)
            block.setSample (0, i, c.sample (start + i, rate));
        block.copyFrom (1, 0, block, 0, 0, n);
        if (! writer->writeFromAudioSampleBuffer (block, 0, n))
            return false;
    }
    return true;
}

juce::String padded (const juce::String& s, int width)
{
    return s.paddedRight (' ', width);
}
} // namespace

int main (int argc, char* argv[])
{
    bool markdown = false;
    juce::String program;

    for (int i = 1; i < argc; ++i)
    {
        const juce::String arg (argv[i]);
        if (arg == "--markdown")
            markdown = true;
        else
            program = arg;
    }

    if (program.isEmpty())
    {
        std::fputs ("Usage: marlode-conformance [--markdown] PATH/TO/marlode-analyse\n", stderr);
        return 2;
    }

    const auto folder = juce::File::createTempFile ("marlode-conformance");
    folder.createDirectory();

    struct Run
    {
        const Case* c;
        double rate;
        juce::File file;
    };

    const auto all = cases();
    std::vector<Run> runs;
    juce::StringArray command { juce::File::getCurrentWorkingDirectory().getChildFile (program).getFullPathName(), "--json" };

    for (const auto rate : { 44100.0, 48000.0 })
        for (const auto& c : all)
        {
            const auto file = folder.getChildFile (juce::String (runs.size()) + ".wav");
            if (! writeSignal (c, rate, file))
            {
                std::fprintf (stderr, "marlode-conformance: cannot write %s\n", file.getFullPathName().toRawUTF8());
                folder.deleteRecursively();
                return 2;
            }
            runs.push_back ({ &c, rate, file });
            command.add (file.getFullPathName());
        }

    juce::ChildProcess analyse;
    const auto output = analyse.start (command, juce::ChildProcess::wantStdOut) ? analyse.readAllProcessOutput() : juce::String();
    const auto exitCode = analyse.waitForProcessToFinish (60000) ? (int) analyse.getExitCode() : -1;
    folder.deleteRecursively();

    const auto parsed = juce::JSON::parse (output);
    const auto* rows = parsed.getArray();

    if (exitCode != 0 || rows == nullptr || rows->size() != (int) runs.size())
    {
        std::fprintf (stderr, "marlode-conformance: %s failed (exit %d)\n", program.toRawUTF8(), exitCode);
        return 2;
    }

    const auto line = [markdown] (juce::StringArray cells)
    {
        static const int widths[] = { 41, 10, 5, 15, 10, 8, 0 };
        juce::String text;
        for (int i = 0; i < cells.size(); ++i)
            text << (markdown ? "| " + cells[i] + " " : padded (cells[i], widths[i]) + " ");
        std::puts ((markdown ? text + "|" : text.trimEnd()).toRawUTF8());
    };

    line ({ "Case", "Rate", "", "Expected", "Measured", "Result", "Signal" });
    if (markdown)
        line ({ "---", "---", "---", "---", "---", "---", "---" });

    int failures = 0;

    for (size_t i = 0; i < runs.size(); ++i)
    {
        const auto& run = runs[i];
        for (const auto& check : run.c->checks)
        {
            const auto measured = (double) (*rows)[(int) i].getProperty (check.key, -999.0);
            const auto pass = measured >= check.expected - check.below - 1e-9 && measured <= check.expected + check.above + 1e-9;
            failures += pass ? 0 : 1;

            const auto tolerance = check.below == check.above
                                       ? juce::String (juce::CharPointer_UTF8 ("\xc2\xb1")) + juce::String (check.above, 1)
                                       : "+" + juce::String (check.above, 1) + "/-" + juce::String (check.below, 1);
            line ({ run.c->name, juce::String (run.rate / 1000.0, 1) + " kHz", check.quantity,
                    juce::String (check.expected, 1) + " " + tolerance, juce::String (measured, 2), pass ? "pass" : "FAIL",
                    run.c->signal });
        }
    }

    std::printf ("\n%d of %d checks failed.\n", failures,
                 [&]
                 {
                     int n = 0;
                     for (const auto& run : runs)
                         n += (int) run.c->checks.size();
                     return n;
                 }());
    return failures == 0 ? 0 : 1;
}
