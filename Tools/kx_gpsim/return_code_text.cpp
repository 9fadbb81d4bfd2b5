#include "Tools/kx_gpsim/return_code_text.h"

#include <iomanip>
#include <sstream>
#include <string_view>

namespace kx {

namespace {

struct Meaning {
    std::string_view call; ///< empty for every call
    std::uint32_t code;
    std::string_view text;
};

// The first row that fits counts.
constexpr Meaning kMeanings[] = {
    {"append", 5, "refused: the caller is not LocalSystem, or cannot be told"},
    {"append", 21, "the agent does not run"},
    {"append", 29, "the agent did not take the update"},
    {"append", 87, "no request, or sets announced where there are none"},
    {"append", 1465, "no XML parser, no usable token, or a set that is there cannot be read"},
    {"apply", 1252,
     "the agent was not reached or does not run; the engine calls again even if nothing changes"},
    {"apply", 1465, "no XML parser, no usable token, or the document could not be built"},
    {"plan", 87, "no target, or a target without a list of GPOs"},
    {"", 14, "memory has run out"},
    {"", 995, "aborted by the engine"},
    {"", 1359, "an internal error of the extension"},
};

std::string SuccessText(const PassResult& pass)
{
    if (pass.call == "plan")
        return "done: what would be applied is recorded";
    if (!pass.delivered)
        return "nothing was sent: no agent is installed, or it is not in Group Policy mode";
    return pass.documentRoot == "AgentParameters" ? "done: the agent has the migration command"
                                                  : "done: the agent has the document";
}

std::string Hex(std::uint32_t code)
{
    std::ostringstream text;
    text << "0x" << std::hex << std::uppercase << std::setw(8) << std::setfill('0') << code;
    return text.str();
}

} // namespace

std::string ReturnCodeText(const PassResult& pass)
{
    if (pass.code == 0)
        return SuccessText(pass);
    for (const Meaning& meaning : kMeanings)
        if (meaning.code == pass.code && (meaning.call.empty() || meaning.call == pass.call))
            return std::string(meaning.text);
    const bool isResult = pass.code >= 0x80000000U;
    return isResult ? "WMI refused: " + Hex(pass.code) : "an error of Windows";
}

std::string ScopeText(Scope scope)
{
    return scope == Scope::Machine ? "machine" : "user";
}

} // namespace kx
