// Facts as JSON: either refused, or lines that the stand-in for targeting understands.

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/facts_json.h"
#include "Tools/targeting/facts_file.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const std::string lines =
            kx::FactsText(std::string_view(reinterpret_cast<const char*>(data), size), "facts");
        if (!kx::ParseFacts(std::wstring(lines.begin(), lines.end())).problem.empty())
            std::abort();
    } catch (const kx::UsageError&) { // refused
    }
    return 0;
}
