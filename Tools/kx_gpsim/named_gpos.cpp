#include "Tools/kx_gpsim/named_gpos.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/run_request.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <filesystem>
#include <iterator>
#include <optional>

namespace fs = std::filesystem;

std::vector<CkxGpoSource> FindNamedGpos(const std::vector<std::string>& paths, const std::string& manifest)
{
    kx::RunOptions options;
    options.gpos = paths;
    std::wstring base = fs::current_path().wstring();
    std::optional<kx::Manifest> parsed;
    if (!manifest.empty()) {
        parsed = kx::ParseManifest(kx::ReadText(manifest), manifest);
        base = fs::absolute(kx::Wide(manifest)).parent_path().wstring();
    }
    const kx::RunRequest request = kx::MakeRequest(options, parsed ? &*parsed : nullptr);
    std::vector<CkxGpoSource> sources;
    for (const kx::GpoRequest& each : request.gpos) {
        std::vector<CkxGpoSource> found = FindGpos(each, base);
        std::move(found.begin(), found.end(), std::back_inserter(sources));
    }
    return sources;
}
