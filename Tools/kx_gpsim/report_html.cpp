#include "Tools/kx_gpsim/report_html.h"

#include "Tools/kx_gpsim/report_page.h"
#include "Tools/kx_gpsim/report_page_data.h"

#include <string_view>
#include <utility>

namespace kx {

namespace {

// The skeleton is taken apart at its marks from front to back, so that what is put in is never searched.
std::string FillIn(std::string_view skeleton, const std::pair<std::string_view, std::string_view> (&parts)[6])
{
    std::string page;
    for (const auto& [mark, text] : parts) {
        const std::size_t at = skeleton.find(mark);
        page.append(skeleton.substr(0, at)).append(text);
        skeleton.remove_prefix(at + mark.size());
    }
    return page.append(skeleton);
}

} // namespace

std::string FormatReportHtml(const RunResult& run, const Report& report)
{
    const std::string data = PageData(run, report);
    const std::string xml = PagePolicyXml(report);
    return FillIn(PageSkeleton(), {{"{{style-hash}}", PageStyleHash()},
                                   {"{{script-hash}}", PageScriptHash()},
                                   {"{{style}}", PageStyle()},
                                   {"{{data}}", data},
                                   {"{{policy-xml}}", xml},
                                   {"{{script}}", PageScript()}});
}

} // namespace kx
