#include "Bench/bench_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

// The value that `part` of all values (0 to 1) lie below.
double Quantile(kx::Samples samples, double part)
{
    if (samples.empty())
        return 0;
    const auto last = static_cast<double>(samples.size() - 1);
    const auto at = samples.begin() + std::llround(last * part);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

kx::Samples Ratios(const kx::Samples& ours, const kx::Samples& theirs)
{
    kx::Samples ratios;
    for (std::size_t i = 0; i < std::min(ours.size(), theirs.size()); ++i)
        ratios.push_back(theirs[i] > 0 ? ours[i] / theirs[i] : 0);
    return ratios;
}

// Three digits of a small number, none behind the point of a large one.
std::string Number(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, value < 10 ? "%.2f" : value < 100 ? "%.1f" : "%.0f", value);
    return text;
}

std::string JsonText(std::string_view text)
{
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            json += '\\';
        json += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return json + '"';
}

std::string JsonNumber(std::optional<double> value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6g", value.value_or(0));
    return value ? text : "null";
}

} // namespace

double kx::Median(Samples samples)
{
    return Quantile(std::move(samples), 0.5);
}

double kx::MedianRatio(const Samples& ours, const Samples& theirs)
{
    return Median(Ratios(ours, theirs));
}

std::vector<kx::Samples> kx::Interleave(int rounds, const std::vector<BenchSide>& sides)
{
    for (const BenchSide& side : sides)
        (void)side();
    std::vector<Samples> samples(sides.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < sides.size(); ++i) {
            const std::size_t turn = round % 2 == 0 ? i : sides.size() - 1 - i;
            samples[turn].push_back(sides[turn]());
        }
    }
    return samples;
}

void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::printf("cannot measure: %s\n", what);
    std::exit(2);
}

CkxBenchReport::CkxBenchReport(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) != "--json")
            _m_arguments.emplace_back(argv[i]);
        else if (++i < argc)
            _m_jsonPath = argv[i];
        else
            Fail("--json needs the name of a file");
    }
}

void CkxBenchReport::Compare(std::string_view name, std::string_view unit, const kx::Samples& ours,
                             const kx::Samples& theirs, std::optional<double> mostRatio)
{
    const kx::Samples ratios = Ratios(ours, theirs);
    Line line;
    line.name = name;
    line.unit = unit;
    line.ours = kx::Median(ours);
    line.theirs = kx::Median(theirs);
    line.ratio = kx::Median(ratios);
    line.lowRatio = Quantile(ratios, 0.25);
    line.highRatio = Quantile(ratios, 0.75);
    line.goal = mostRatio;
    _m_lines.push_back(std::move(line));
}

void CkxBenchReport::Figure(std::string_view name, std::string_view unit, double value,
                            std::optional<double> most)
{
    Line line;
    line.name = name;
    line.unit = unit;
    line.ours = value;
    line.goal = most;
    _m_lines.push_back(std::move(line));
}

void CkxBenchReport::Fail(std::string_view why)
{
    _m_failures.emplace_back(why);
}

std::string_view CkxBenchReport::Line::Verdict() const noexcept
{
    if (!goal)
        return "-";
    return (theirs ? ratio : ours) <= *goal ? "met" : "missed";
}

bool CkxBenchReport::_IsAllMet() const noexcept
{
    return _m_failures.empty() && std::none_of(_m_lines.begin(), _m_lines.end(),
                                               [](const Line& line) { return line.Verdict() == "missed"; });
}

int CkxBenchReport::Finish() const
{
    _PrintTable();
    for (const std::string& why : _m_failures)
        std::printf("failed: %s\n", why.c_str());
    const bool written = _m_jsonPath.empty() || _WriteJson();
    if (!written)
        std::printf("failed: cannot write %s\n", _m_jsonPath.c_str());
    return _IsAllMet() && written ? 0 : 1;
}

void CkxBenchReport::_PrintTable() const
{
    std::size_t width = 4;
    for (const Line& line : _m_lines)
        width = std::max(width, line.name.size());
    const int nameWidth = static_cast<int>(width);
    std::printf("%-*s  %10s  %10s  %-5s  %6s  %-13s  %7s\n", nameWidth, "name", "ours", "theirs", "unit",
                "ratio", "spread", "goal");
    for (const Line& line : _m_lines) {
        const bool pair = line.theirs.has_value();
        const std::string spread = Number(line.lowRatio) + " - " + Number(line.highRatio);
        std::printf("%-*s  %10s  %10s  %-5s  %6s  %-13s  %7s  %s\n", nameWidth, line.name.c_str(),
                    Number(line.ours).c_str(), pair ? Number(*line.theirs).c_str() : "-", line.unit.c_str(),
                    pair ? Number(line.ratio).c_str() : "-", pair ? spread.c_str() : "-",
                    line.goal ? ("<= " + Number(*line.goal)).c_str() : "-", line.Verdict().data());
    }
}

bool CkxBenchReport::_WriteJson() const
{
    std::string json = "[";
    for (const Line& line : _m_lines) {
        const auto ifPair = [&](double value) {
            return line.theirs ? std::optional<double>(value) : std::nullopt;
        };
        json += json.size() > 1 ? ",\n " : "\n ";
        json += "{\"name\": " + JsonText(line.name) + ", \"unit\": " + JsonText(line.unit) +
                ", \"ours\": " + JsonNumber(line.ours) + ", \"theirs\": " + JsonNumber(line.theirs) +
                ", \"ratio\": " + JsonNumber(ifPair(line.ratio)) +
                ", \"lowRatio\": " + JsonNumber(ifPair(line.lowRatio)) +
                ", \"highRatio\": " + JsonNumber(ifPair(line.highRatio)) +
                ", \"goal\": " + JsonNumber(line.goal) + ", \"verdict\": " + JsonText(line.Verdict()) + "}";
    }
    json += "\n]\n";
    std::FILE* file = std::fopen(_m_jsonPath.c_str(), "wb");
    if (!file)
        return false;
    const bool whole = std::fwrite(json.data(), 1, json.size(), file) == json.size();
    return std::fclose(file) == 0 && whole;
}
