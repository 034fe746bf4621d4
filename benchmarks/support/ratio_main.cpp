// The main() of every benchmark program. Benchmarks are named SUBJECT/SIZE/WHO. Beside the usual
// lines it prints tables of our time and of its ratio to the time of each peer with the same
// SUBJECT/SIZE. Unless flags say otherwise each benchmark is repeated, in random order, so that a
// disturbance of the machine does not fall on one of the rivals alone.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace
{

constexpr char ourName[] = "oxShared";

using Seconds = double;
using Samples = std::vector<Seconds>;

Seconds median(Samples samples)
{
    auto const middle = samples.begin() + std::ssize(samples) / 2;
    std::nth_element(samples.begin(), middle, samples.end());
    if (samples.size() % 2 != 0)
        return *middle;
    return (*middle + *std::max_element(samples.begin(), middle)) / 2;
}

Seconds fastest(Samples samples)
{
    return *std::min_element(samples.begin(), samples.end());
}

std::string timeText(Seconds time)
{
    struct Unit {
        Seconds length;
        char const * name;
    };
    constexpr Unit units[] = {{1.0, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    auto const unit = std::find_if(std::begin(units), std::end(units) - 1,
                                   [time](Unit const & u) { return time >= u.length; });
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", time / unit->length, unit->name);
    return text;
}

std::string ratioText(double ratio)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", ratio);
    return text;
}

/// Prints the usual lines and keeps every repetition's time per iteration.
class RatioReporter : public benchmark::ConsoleReporter
{
  public:
    RatioReporter() : ConsoleReporter(OO_None) {}

    void ReportRuns(std::vector<Run> const & runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (Run const & run : runs)
            keep(run);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        printTable("Median of the repetitions", median);
        printTable("Fastest repetition", fastest);
    }

  private:
    struct Subject {
        std::string name;
        std::map<std::string, Samples> timesOf;
    };

    void keep(Run const & run)
    {
        std::string const & name = run.run_name.function_name;
        auto const slash = name.rfind('/');
        bool const isRealTime = run.run_name.time_type == "real_time";
        Seconds const total = isRealTime ? run.real_accumulated_time : run.cpu_accumulated_time;
        // A run that ended with an error has no time.
        if (run.run_type != Run::RT_Iteration || slash == std::string::npos || total <= 0)
            return;
        std::string const who = name.substr(slash + 1);
        if (who != ourName && std::find(peers_.begin(), peers_.end(), who) == peers_.end())
            peers_.push_back(who);
        subject(name.substr(0, slash))
            .timesOf[who]
            .push_back(total / static_cast<double>(run.iterations));
    }

    Subject & subject(std::string const & name)
    {
        auto const found = std::find_if(subjects_.begin(), subjects_.end(),
                                        [&name](Subject const & s) { return s.name == name; });
        return found != subjects_.end() ? *found : subjects_.emplace_back(Subject{name, {}});
    }

    void printTable(char const * title, Seconds (*statistic)(Samples)) const
    {
        std::string table = std::string("\n") + title + ": our time, and our time / the peer's" +
                            " (below 1 we are faster)\n\n| subject | " + ourName + " |";
        for (std::string const & peer : peers_)
            table += " / " + peer + " |";
        table += "\n|---|---:|";
        for (std::size_t i = 0; i < peers_.size(); ++i)
            table += "---:|";
        table += '\n';
        for (Subject const & subject : subjects_)
            table += row(subject, statistic);
        GetOutputStream() << table << std::flush;
    }

    std::string row(Subject const & subject, Seconds (*statistic)(Samples)) const
    {
        auto const ours = subject.timesOf.find(ourName);
        if (ours == subject.timesOf.end())
            return {};
        Seconds const ourTime = statistic(ours->second);
        std::string text = "| " + subject.name + " | " + timeText(ourTime) + " |";
        for (std::string const & peer : peers_) {
            auto const theirs = subject.timesOf.find(peer);
            text += theirs == subject.timesOf.end()
                        ? " |"
                        : " " + ratioText(ourTime / statistic(theirs->second)) + " |";
        }
        return text + '\n';
    }

    std::vector<Subject> subjects_;
    std::vector<std::string> peers_;
};

} // namespace

int main(int argc, char ** argv)
{
    std::string repetitions = "--benchmark_repetitions=5";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    // The defaults stand first, for the last of two equal flags counts.
    std::vector<char *> arguments{argv[0], repetitions.data(), interleaving.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    arguments.push_back(nullptr);

    int count = static_cast<int>(arguments.size()) - 1;
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
