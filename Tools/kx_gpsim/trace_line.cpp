#include "Tools/kx_gpsim/trace_line.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace kx {

namespace {

constexpr std::string_view kDigits = "0123456789";

// The text from a mark to the last bracket, which a path may hold as well; empty where they are not there.
std::string_view Bracketed(std::string_view text, std::string_view mark)
{
    const std::size_t start = text.find(mark);
    if (start == std::string_view::npos)
        return {};
    const std::string_view rest = text.substr(start + mark.size());
    const std::size_t end = rest.rfind(']');
    return end == std::string_view::npos ? std::string_view() : rest.substr(0, end);
}

int NumberAfter(std::string_view text, std::string_view mark)
{
    int number = 0;
    if (const std::size_t at = text.rfind(mark); at != std::string_view::npos)
        std::from_chars(text.data() + at + mark.size(), text.data() + text.size(), number);
    return number;
}

// ---- one line -----------------------------------------------------------------------------------------

// "32:.../engine/kx_gpext/gp_xml.cpp(18): message": the source's end is the last "(digits):" before the
// message, which has one of its own only further right.
bool CutPrefix(std::string_view line, TraceLine& parts)
{
    const std::size_t start = line.find_first_not_of(kDigits);
    if (start == 0 || start == std::string_view::npos || line[start] != ':')
        return false;
    const std::size_t open = line.find('(', start);
    const std::size_t close =
        open == std::string_view::npos ? open : line.find_first_not_of(kDigits, open + 1);
    if (close == std::string_view::npos || !line.substr(close).starts_with("):"))
        return false;
    parts.source = line.substr(start + 1, open - start - 1);
    parts.message = line.substr(close + 2);
    if (parts.message.starts_with(' '))
        parts.message.remove_prefix(1);
    return true;
}

void CutSeverity(TraceLine& parts)
{
    constexpr std::pair<std::string_view, std::string_view> severities[] = {
        {"ERROR: ", "error"}, {"WARNING: ", "warning"}, {"INFO: ", ""}};
    for (const auto& [word, severity] : severities) {
        if (parts.message.starts_with(word)) {
            parts.message.remove_prefix(word.size());
            parts.severity = severity;
            return;
        }
    }
}

// ---- complaints ---------------------------------------------------------------------------------------

constexpr std::string_view kNotAccepted = "The file was not accepted: ";
constexpr std::string_view kNoReason = "error"; // of parsers that give none
constexpr std::string_view kConsequences[] = {"Failed to load the policy files of GPO",
                                              "Failed to process polcies for",
                                              "Failed to process migration command for"};

// The name of the GPO at a line's end is known from the place where the complaint stands.
std::string_view WithoutGpo(std::string_view message)
{
    for (const std::string_view mark : {". GPO ", " for GPO ", " of GPO ", ": GPO "})
        if (const std::size_t at = message.rfind(mark);
            at != std::string_view::npos && message.ends_with('}'))
            return message.substr(0, at);
    return message;
}

// The versions of the four files that have one, in the order of the line.
bool AddVersions(std::string_view message, std::vector<Complaint>& complaints)
{
    constexpr std::string_view mark = "Unsupported version found in XML. Versions: ";
    constexpr std::string_view files[] = {"Policies.xml", "ApplicationGroups.xml", "Tokens.xml", "GUI.xml"};
    if (!message.starts_with(mark))
        return false;
    std::string_view rest = message.substr(mark.size());
    for (const std::string_view file : files) {
        const std::string_view version = rest.substr(0, rest.find_first_not_of("-0123456789"));
        if (version != "5")
            complaints.push_back({"error", std::string(file), 0, 0,
                                  "version " + std::string(version) + " is not supported, only 5 is"});
        rest.remove_prefix(std::min(rest.size(), version.size() + 2)); // ", "
    }
    return true;
}

// The parser's reason belongs to the file that the line before names.
bool AddParserReason(std::string_view message, std::vector<Complaint>& complaints)
{
    if (!message.starts_with(kNotAccepted) || complaints.empty())
        return false;
    Complaint& last = complaints.back();
    std::string_view reason = message.substr(kNotAccepted.size());
    last.line = NumberAfter(reason, "(line ");
    last.column = last.line > 0 ? NumberAfter(reason, ", column ") : 0;
    if (last.line > 0)
        reason = reason.substr(0, reason.rfind(" (line "));
    if (reason != kNoReason)
        last.reason = reason;
    return true;
}

bool AddUnreadableFile(std::string_view message, std::vector<Complaint>& complaints)
{
    constexpr std::string_view mark = "Failed to load XML from ";
    if (!message.starts_with(mark))
        return false;
    std::string_view path = message.substr(mark.size());
    const std::string_view bracketed = Bracketed(path, "file [");
    if (!bracketed.empty())
        path = bracketed;
    complaints.push_back({"error", BaseName(path), 0, 0, "cannot be read"});
    return true;
}

std::string FileOf(std::string_view message, bool migration)
{
    if (const std::string_view path = Bracketed(message, "Path=["); !path.empty())
        return BaseName(path);
    return migration ? "Migration.xml" : "Policies.xml";
}

// 'd' stands for a digit, all else for itself.
bool BeginsAs(std::string_view text, std::string_view form)
{
    if (text.size() < form.size())
        return false;
    for (std::size_t at = 0; at < form.size(); ++at) {
        const bool isDigit = text[at] >= '0' && text[at] <= '9';
        if (form[at] == 'd' ? !isDigit : text[at] != form[at])
            return false;
    }
    return true;
}

int NumberAt(std::string_view text, std::size_t at, std::size_t size)
{
    int number = 0;
    for (const char digit : text.substr(at, size))
        number = number * 10 + (digit - '0');
    return number;
}

// Gives the milliseconds since midnight.
std::optional<std::int64_t> CutTimeOfDay(std::string_view& line)
{
    constexpr std::string_view date = "dddd-dd-dd ";
    constexpr std::string_view time = "dd:dd:dd.ddd ";
    std::string_view rest = line;
    if (BeginsAs(rest, date))
        rest.remove_prefix(date.size());
    if (!BeginsAs(rest, time))
        return std::nullopt;
    const std::int64_t seconds =
        (NumberAt(rest, 0, 2) * 60 + NumberAt(rest, 3, 2)) * 60 + NumberAt(rest, 6, 2);
    const std::int64_t milliseconds = NumberAt(rest, 9, 3);
    line = rest.substr(time.size());
    return seconds * 1000 + milliseconds;
}

} // namespace

std::optional<std::int64_t> CkxTraceClock::Cut(std::string_view& line)
{
    constexpr std::int64_t day = 24LL * 60 * 60 * 1000;
    const auto time = CutTimeOfDay(line);
    if (!time)
        return std::nullopt;
    if (!_m_first)
        _m_first = time;
    return *time < *_m_first ? *time - *_m_first + day : *time - *_m_first;
}

TraceLine ParseTraceLine(std::string_view line)
{
    (void)CutTimeOfDay(line);
    TraceLine parts;
    if (CutPrefix(line, parts))
        CutSeverity(parts);
    return parts;
}

TargetingLine ClassifyTargeting(const TraceLine& line, std::string& subject)
{
    constexpr std::string_view excluded = "] not allowed by ILT: ";
    constexpr std::string_view policy = "policy [";
    if (line.message.starts_with("GPO not allowed by ILT: "))
        return TargetingLine::GpoExcluded;
    if (const std::size_t end = line.message.rfind(excluded);
        line.message.starts_with(policy) && end != std::string_view::npos) {
        subject = line.message.substr(policy.size(), end - policy.size());
        return TargetingLine::PolicyExcluded;
    }
    if (!line.IsFrom("gp_xml_targeting.cpp") || line.severity != "error")
        return TargetingLine::None;
    return line.message.starts_with("The work folder of item-level targeting") ? TargetingLine::Detail
                                                                               : TargetingLine::Failed;
}

void AddComplaint(const TraceLine& line, std::vector<Complaint>& complaints)
{
    if (line.severity.empty() || line.IsFrom("/xml/") || line.IsFrom("/kxwbem/"))
        return; // the layers below: whoever called them says what it means
    if (AddVersions(line.message, complaints) || AddParserReason(line.message, complaints) ||
        AddUnreadableFile(line.message, complaints))
        return;
    const bool consequence =
        std::any_of(std::begin(kConsequences), std::end(kConsequences),
                    [&](std::string_view start) { return line.message.starts_with(start); });
    if (consequence && !complaints.empty())
        return;
    const bool harmless = line.IsFrom("rsop_log") || line.IsFrom("gp_config_map") ||
                          line.message.ends_with("is missing 'order' attribute.");
    complaints.push_back({harmless ? "warning" : std::string(line.severity),
                          FileOf(line.message, line.IsFrom("gp_xml_migration")), 0, 0,
                          std::string(WithoutGpo(line.message))});
}

std::string BaseName(std::string_view path)
{
    const std::size_t slash = path.find_last_of("\\/");
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

} // namespace kx
