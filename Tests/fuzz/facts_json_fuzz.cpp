// libFuzzer target: facts as JSON, either refused, or lines that the stand-in for targeting understands.
//
//   facts_json_fuzz -max_len=1024 -dict=facts_json.dict
#include "Tests/fuzz/fuzz_input.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/facts_json.h"
#include "Tools/targeting/facts_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const std::string lines =
            kx::FactsText(std::string_view(reinterpret_cast<const char*>(data), size), "facts");
        fuzz::Require(kx::ParseFacts(std::wstring(lines.begin(), lines.end())).problem.empty(),
                      "lines that are not understood");
    } catch (const kx::UsageError&) { // refused
    }
    return 0;
}
