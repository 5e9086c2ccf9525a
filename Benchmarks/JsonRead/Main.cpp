// Compares ReadJson with QJsonDocument::fromJson, which ReadJson calls after scanning the text.

#include "ExternalController/Common/JsonReader.h"

#include <QJsonArray>
#include <QJsonObject>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <numeric>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace {

struct SText {
    std::string name;
    QByteArray text;
    double aim; ///< maximum ratio of ReadJson's time to fromJson's
};

constexpr double kSmallAim = 1.7;
constexpr double kAim = 1.3;

/// Returns an object with these keys in random order, each with the same value.
QByteArray Shuffled(const QByteArray& start, int count, const QByteArray& value)
{
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
    QByteArray text = "{";
    for (const int number : numbers)
        text += '"' + start + QByteArray::number(number) + "\":" + value + ',';
    text.back() = '}';
    return text;
}

/// Returns a list like the module's: objects with 24 keys.
QJsonObject List(int count)
{
    QJsonArray items;
    for (int i = 0; i < count; ++i) {
        QJsonObject item;
        for (int key = 0; key < 24; ++key)
            item["property" + QString::number(key)] =
                key % 3 == 0 ? QJsonValue("the text of item " + QString::number(i)) : QJsonValue(i * key);
        items.append(item);
    }
    return {{"list", items}};
}

std::vector<SText> Texts()
{
    const QJsonDocument one(List(2));
    const QJsonDocument thousand(List(1000));
    return {
        {"request-30-bytes", R"({"cmd":"getHDR","param":40.25})", kSmallAim},
        {"stamped-84-bytes", R"({"cmd":"getGlobalPlayState","cmdType":290,"remoteIp":"127.0.0.1","remotePort":25600})",
         kSmallAim},
        {"indented-2-kB", one.toJson(), kAim},
        {"keys-48-shuffled", Shuffled("property", 48, "\"some text\""), kAim},
        {"keys-100-shuffled", Shuffled("property", 100, "\"some text\""), kAim},
        {"keys-100000-shuffled", Shuffled("", 100000, "1"), kAim},
        {"list-indented", thousand.toJson(), kAim},
        {"list-compact", thousand.toJson(QJsonDocument::Compact), kAim},
        {"base64-1-MB", "{\"data\":\"" + QByteArray(1000000, 'A') + "\"}", kAim},
    };
}

/// Prints one line for each text after all have run: the medians of the processor time and their ratio.
class CReporter : public benchmark::BenchmarkReporter {
public:
    explicit CReporter(const std::vector<SText>& texts) : m_texts(texts) {}

    bool ReportContext(const Context& context) override
    {
        PrintBasicContext(&GetErrorStream(), context);
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.aggregate_name == "median" || run.repetitions == 1)
                m_nanoseconds[run.run_name.function_name] = run.GetAdjustedCPUTime();
        }
    }

    void Finalize() override
    {
        char line[200];
        for (const SText& text : m_texts) {
            const double floor = m_nanoseconds[text.name + "/fromJson"];
            const double ours = m_nanoseconds[text.name + "/ReadJson"];
            if (!(floor > 0 && ours > 0))
                continue; // filtered out
            std::snprintf(line, sizeof line,
                          "%-22s %8d bytes: fromJson %12.0f ns, ReadJson %12.0f ns, %.2f, aim %.1f\n",
                          text.name.c_str(), text.text.size(), floor, ours, ours / floor, text.aim);
            GetOutputStream() << line;
        }
    }

private:
    const std::vector<SText>& m_texts;
    std::map<std::string, double> m_nanoseconds;
};

template <class Read>
void Register(const std::string& name, const SText& text, Read read)
{
    benchmark::RegisterBenchmark(name.c_str(), [&text, read](benchmark::State& state) {
        for (auto _ : state) {
            if (read(text.text).isNull())
                state.SkipWithError("the text could not be read");
        }
    });
}

} // namespace

int main(int argc, char* argv[])
{
    // A flag of the command line follows its default and overrides it.
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=11";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char seconds[] = "--benchmark_min_time=0.05";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, seconds});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;

    const std::vector<SText> texts = Texts();
    for (const SText& text : texts) {
        Register(text.name + "/fromJson", text, [](const QByteArray& json) { return QJsonDocument::fromJson(json); });
        Register(text.name + "/ReadJson", text, [](const QByteArray& json) { return ReadJson(json); });
    }
    CReporter reporter(texts);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
