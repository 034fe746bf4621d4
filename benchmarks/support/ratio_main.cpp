// The main() of every benchmark program. Benchmarks are named SUBJECT/SIZE/WHO. After the usual
// output the program prints tables with the time of oxShared, and its ratio to the time of each
// peer with the same SUBJECT/SIZE. By default each benchmark runs several times and all runs are
// mixed in a random order, so that a disturbance of the machine affects all peers equally.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <string>
#include <utility>
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

/// A reporter that also stores the time per iteration of each repetition.
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
    struct Result {
        std::string subject;
        std::string who;
        Samples times;
    };

    void keep(Run const & run)
    {
        std::string const & name = run.run_name.function_name;
        auto const slash = name.rfind('/');
        // time_type is empty if the benchmark measures processor time. It is set for real time, and
        // for times that the benchmark measures itself.
        bool const isRealTime = !run.run_name.time_type.empty();
        Seconds const total = isRealTime ? run.real_accumulated_time : run.cpu_accumulated_time;
        // A run that ended with an error has no time.
        if (run.run_type != Run::RT_Iteration || slash == std::string::npos || total <= 0)
            return;
        Result & result = results_[{run.family_index, run.per_family_instance_index}];
        result.subject = name.substr(0, slash);
        result.who = name.substr(slash + 1);
        result.times.push_back(total / static_cast<double>(run.iterations));
    }

    void printTable(char const * title, Seconds (*statistic)(Samples)) const
    {
        std::vector<std::string> peers;
        for (auto const & [order, result] : results_) {
            if (result.who != ourName && std::ranges::count(peers, result.who) == 0)
                peers.push_back(result.who);
        }

        std::string table = std::string("\n") + title + ": our time, and our time / the peer's" +
                            " (below 1 we are faster)\n\n| subject | " + ourName + " |";
        for (std::string const & peer : peers)
            table += " / " + peer + " |";
        table += "\n|---|---:|";
        for (std::size_t i = 0; i < peers.size(); ++i)
            table += "---:|";
        table += '\n';
        for (auto const & [order, result] : results_) {
            if (result.who == ourName)
                table += row(result, peers, statistic);
        }
        GetOutputStream() << table << std::flush;
    }

    std::string row(Result const & ours, std::vector<std::string> const & peers,
                    Seconds (*statistic)(Samples)) const
    {
        Seconds const ourTime = statistic(ours.times);
        std::string text = "| " + ours.subject + " | " + timeText(ourTime) + " |";
        for (std::string const & peer : peers) {
            auto const theirs = std::ranges::find_if(results_, [&](auto const & entry) {
                return entry.second.subject == ours.subject && entry.second.who == peer;
            });
            if (theirs != results_.end())
                text += ' ' + ratioText(ourTime / statistic(theirs->second.times));
            text += " |";
        }
        return text + '\n';
    }

    /// The results in the order in which the benchmarks were registered.
    std::map<std::pair<std::int64_t, std::int64_t>, Result> results_;
};

/// Returns the name of the processor, or an empty text if the system has no /proc/cpuinfo.
std::string processorName()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    }
    return {};
}

} // namespace

int main(int argc, char ** argv)
{
    std::string repetitions = "--benchmark_repetitions=5";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    // The defaults come before the user's flags, since the last of several flags with the same
    // name takes effect.
    std::vector<char *> arguments{argv[0], repetitions.data(), interleaving.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    arguments.push_back(nullptr);

    int count = static_cast<int>(arguments.size()) - 1;
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    benchmark::AddCustomContext("processor", processorName());
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
