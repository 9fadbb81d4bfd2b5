#pragma once

#include "Common_CPP/trace/prefix.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace kx::oracle {

/// What a prefix means, word for word: each token in turn, its first occurrence replaced by its value.
inline std::string Prefix(const std::string& format, const PrefixFields& fields)
{
    const auto number = [](const char* pattern, unsigned value) {
        char text[32];
        std::snprintf(text, sizeof text, pattern, value);
        return std::string(text);
    };
    std::string indent;
    for (unsigned i = 0; i < fields.depth; ++i)
        indent += fields.indentFilling;
    const std::string thread = number("%u", fields.threadId);
    const std::vector<std::pair<std::string, std::string>> values = {
        {"<%PID>", number("%u", fields.processId)},
        {"<%TID>", thread},
        {"<%TNAME>", fields.threadName.empty() ? thread : std::string(fields.threadName)},
        {"<%STACK>", fields.stackName},
        {"<%YEAR>", number("%02u", fields.time.year)},
        {"<%MONTH>", number("%02u", fields.time.month)},
        {"<%DAY>", number("%02u", fields.time.day)},
        {"<%HOUR>", number("%02u", fields.time.hour)},
        {"<%MIN>", number("%02u", fields.time.minute)},
        {"<%SEC>", number("%02u", fields.time.second)},
        {"<%MSEC>", number("%03u", fields.time.millisecond)},
        {"<%FILE>", std::string(fields.file)},
        {"<%LINE>", number("%u", static_cast<unsigned>(fields.line))},
        {"<%CLASS>", fields.className},
        {"<%LEVEL>", fields.level == 300 ? "KXT_INFO" : number("%u", fields.level)},
        {"<%INDENT>", indent},
    };
    std::string line = format;
    for (const auto& [token, value] : values)
        if (const auto at = line.find(token); at != std::string::npos)
            line.replace(at, token.size(), value);
    return line.empty() || line.back() == ' ' ? line : line + ' ';
}

} // namespace kx::oracle
