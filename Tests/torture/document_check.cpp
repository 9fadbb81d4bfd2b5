#include "Tests/torture/document_check.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kUpdate = "GPUpdate ";

// What tells a document of the second run, and what the first one's has there.
struct Mark {
    std::string_view second;
    std::string_view first;
};

constexpr Mark kMarks[] = {{" forced=\"true\"", " forced=\"false\""},
                           {" deleteAllAppended=\"true\"", ""},
                           {" setId=\"again\"", " setId=\"first\""}};

bool IsUpdate(const std::string& document)
{
    return document.compare(0, kUpdate.size(), kUpdate) == 0;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// A line's ` name="value"` parts. The user's name may be shown as a SID where no account is found.
std::set<std::string> Attributes(const std::string& line)
{
    std::set<std::string> attributes;
    for (std::size_t at = line.find("=\""); at != std::string::npos; at = line.find("=\"", at)) {
        const std::size_t begin = line.rfind(' ', at);
        const std::size_t end = line.find('"', at + 2);
        if (line.compare(begin, at - begin, " user") != 0)
            attributes.insert(line.substr(begin, end - begin));
        at = end;
    }
    return attributes;
}

// What stands in front of the attributes: indentation and name.
std::string ElementOf(const std::string& line)
{
    return line.substr(0, line.find(' ', line.find_first_not_of(' ')));
}

// A policy whose order cannot be read gets the one of a policy without any.
bool IsOrder(const std::string& attribute)
{
    return attribute.compare(0, 8, " order=\"") == 0;
}

// The same element with no attribute of its own.
bool IsPartOf(const std::string& line, const std::string& whole)
{
    if (ElementOf(line) != ElementOf(whole))
        return false;
    const std::set<std::string> all = Attributes(whole);
    for (const std::string& attribute : Attributes(line))
        if (all.count(attribute) == 0 && !IsOrder(attribute))
            return false;
    return true;
}

// Application groups are named where RSoP is recorded, and only if that is possible.
bool IsWithoutGroupName(const std::string& line, const std::string& whole)
{
    const std::size_t name = whole.find(" name=\"");
    return whole.find(" ApplicationGroup ") != std::string::npos && name != std::string::npos &&
           line == whole.substr(0, name);
}

bool IsSame(const std::string& line, const std::string& whole)
{
    return line == whole || IsWithoutGroupName(line, whole);
}

// True for an element that holds nothing, as the next line tells.
bool IsChildless(const std::vector<std::string>& lines, std::size_t at)
{
    return at + 1 == lines.size() || lines[at + 1].find_first_not_of(' ') <= lines[at].find_first_not_of(' ');
}

// The document's lines; where that is excused, without what targeting would have excluded, and without lists
// of policies that hold nothing else.
std::vector<std::string> LinesToCompare(const std::string& document, bool excused)
{
    std::vector<std::string> lines = Lines(document);
    if (!excused)
        return lines;
    std::erase_if(lines, [](const std::string& line) { return line.find(c_excluded) != std::string::npos; });
    for (std::size_t at = lines.size(); at-- != 0;)
        if (lines[at].find("  Policies") != std::string::npos && IsChildless(lines, at))
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at));
    return lines;
}

// The first of `lines`, from `next` on, for which `line` stands: as it is, or, where that is excused, without
// some of its attributes. lines.size() for none.
std::size_t FindLine(const std::vector<std::string>& lines, std::size_t next, const std::string& line,
                     bool excused)
{
    const auto begin = lines.begin() + static_cast<std::ptrdiff_t>(next);
    auto found =
        std::find_if(begin, lines.end(), [&](const std::string& whole) { return IsSame(line, whole); });
    if (found == lines.end() && excused)
        found =
            std::find_if(begin, lines.end(), [&](const std::string& whole) { return IsPartOf(line, whole); });
    return static_cast<std::size_t>(found - lines.begin());
}

} // namespace

std::string DocumentFault(const std::string& whole, const std::string& got, bool excused)
{
    if (!IsUpdate(whole))
        return got == whole || (excused && IsUpdate(got)) ? "" : "is not the command: " + got;
    if (!IsUpdate(got))
        return "is no update: " + got;
    const std::vector<std::string> all = LinesToCompare(whole, excused);
    const std::vector<std::string> lines = LinesToCompare(got, excused);
    if (!IsPartOf(lines[0], all[0]))
        return "has another root: " + lines[0];
    std::size_t missing = Attributes(all[0]).size() - Attributes(lines[0]).size();
    std::size_t next = 1;
    for (std::size_t line = 1; line < lines.size(); ++line, ++next) {
        const std::size_t found = FindLine(all, next, lines[line], excused);
        missing += found - next;
        next = found;
        if (found == all.size())
            return "has what the undamaged one has not: " + lines[line];
    }
    missing += all.size() - next;
    return missing != 0 && !excused ? "lacks " + std::to_string(missing) + " parts without an excuse" : "";
}

std::set<std::string> ErrorsIn(const std::string& trace)
{
    std::set<std::string> errors;
    for (const std::string& line : Lines(trace))
        if (const std::size_t at = line.find("ERROR: "); at != std::string::npos)
            errors.insert(line.substr(at));
    return errors;
}

bool IsOfSecondRun(const std::string& meaning)
{
    return AsOfFirstRun(meaning) != meaning;
}

std::string AsOfFirstRun(std::string meaning)
{
    for (const Mark& mark : kMarks)
        if (const std::size_t at = meaning.find(mark.second); at != std::string::npos)
            meaning.replace(at, mark.second.size(), mark.first);
    return meaning;
}

bool IsOfScope(const std::string& meaning, bool user)
{
    return meaning.find(user ? " userScope=\"true\"" : " userScope=\"false\"") != std::string::npos;
}
