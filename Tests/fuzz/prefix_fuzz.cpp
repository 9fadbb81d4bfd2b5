// libFuzzer target: templates of trace lines and of trace files' names against their word-for-word meaning.
// Lines of the input are the values of texts, the last of them the template.
//
//   prefix_fuzz -max_len=512 -dict=prefix.dict
#include "Common_CPP/trace/file_strip.h"
#include "Common_CPP/trace/prefix.h"
#include "Tests/fuzz/fuzz_input.h"
#include "Tests/oracle/prefix_oracle.h"

#include <algorithm>

namespace {

using fuzz::Require;

struct TextOut {
    std::string text;

    void Append(std::string_view piece) { text += piece; }
};

struct Texts {
    std::string threadName;
    std::string stackName;
    std::string file;
    std::string className;
    std::string indentFilling;
};

Texts TextsOf(fuzz::Input& input)
{
    Texts texts;
    for (std::string* text :
         {&texts.threadName, &texts.stackName, &texts.file, &texts.className, &texts.indentFilling})
        *text = input.Line<char>();
    // These two end at a NUL.
    texts.stackName = texts.stackName.c_str();
    texts.className = texts.className.c_str();
    return texts;
}

kx::PrefixFields FieldsOf(fuzz::Input& input, const Texts& texts)
{
    kx::PrefixFields fields;
    fields.processId = input.Number<std::uint16_t>();
    fields.threadId = input.Byte();
    fields.time = {input.Number<std::uint16_t>() % 10000U, 12, 31, input.Byte() % 24U, 59, 5, 7};
    fields.line = input.Number<std::uint16_t>();
    fields.level = input.Byte() % 2U == 0 ? 300U : 12345U; // one with a name, one without
    fields.depth = input.Byte() % 8U;
    fields.threadName = texts.threadName;
    fields.stackName = texts.stackName.c_str();
    fields.file = texts.file;
    fields.className = texts.className.c_str();
    fields.indentFilling = texts.indentFilling;
    return fields;
}

void CheckPrefix(const std::string& format, const kx::PrefixFields& fields)
{
    const kx::PrefixTemplate prefix(format);
    Require(prefix.Text() == format, "another text");
    TextOut written;
    prefix.Write(written, fields);
    Require(written.text == kx::oracle::Prefix(format, fields), "not the template's meaning");
    TextOut expanded;
    const char last = prefix.Expand(expanded, fields);
    Require(last == (expanded.text.empty() ? ' ' : expanded.text.back()), "another last character");

    kx::PrefixFields later = fields;
    later.time = {1, 2, 3, 4, 6, 8, 9};
    TextOut again;
    prefix.Write(again, later);
    Require(prefix.NeedsTime(fields) || again.text == written.text, "the time is shown without being read");
}

void CheckFileName(const std::string& path, const kx::PrefixFields& fields)
{
    std::string expected = path;
    const auto replace = [&](std::string_view token, std::uint32_t value, std::size_t width) {
        std::string digits = std::to_string(value);
        digits.insert(0, std::max(width, digits.size()) - digits.size(), '0');
        if (const std::size_t at = expected.find(token); at != expected.npos)
            expected.replace(at, token.size(), digits);
    };
    replace("<%PID>", fields.processId, 1);
    replace("<%YEAR>", fields.time.year, 2);
    replace("<%MONTH>", fields.time.month, 2);
    replace("<%DAY>", fields.time.day, 2);
    replace("<%HOUR>", fields.time.hour, 2);
    replace("<%MIN>", fields.time.minute, 2);
    replace("<%SEC>", fields.time.second, 2);
    replace("<%MSEC>", fields.time.millisecond, 3);
    Require(kx::ExpandFileTokens(path, fields.processId, fields.time) == expected, "another file");
}

// Whole components, of the path's end, slashes alike, and never more than asked for.
void CheckStripped(std::string path, unsigned level)
{
    const kx::StrippedFile stripped(path, level);
    std::string_view shown = stripped.View();
    path.resize(std::min(path.size(), kx::kMaxSourcePath));
    std::replace(path.begin(), path.end(), '\\', '/');
    Require(shown.size() <= std::max<std::size_t>(path.size(), 4), "longer than the path");
    if (shown == path)
        return;
    Require(level != 0, "a path is cut though none should be");
    if (level > 1) {
        Require(shown.starts_with(".../"), "cut without saying so");
        shown.remove_prefix(4);
    }
    Require(path.ends_with(shown) && path[path.size() - shown.size() - 1] == '/', "cut inside a component");
    Require(std::count(shown.begin(), shown.end(), '/') + 1 == static_cast<std::ptrdiff_t>(level),
            "another number of components");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const Texts texts = TextsOf(input);
    const kx::PrefixFields fields = FieldsOf(input, texts);
    const std::string format = input.Rest<char>();
    CheckPrefix(format, fields);
    CheckFileName(format, fields);
    CheckStripped(texts.file, fields.depth);
    return 0;
}
