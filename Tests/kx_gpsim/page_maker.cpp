// Writes report pages to look at and to test in a browser, into a folder: sample.html, with hostile names,
// and large.html, of 100,000 policies.

#include "Tests/kx_gpsim/page_runs.h"
#include "Tools/kx_gpsim/report_html.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

void WritePage(const std::filesystem::path& file, const kx::RunResult& run)
{
    std::ofstream out(file, std::ios::binary);
    out << kx::FormatReportHtml(run, kx::MakeReport(run));
    if (!out.flush())
        throw std::runtime_error(file.string() + " cannot be written");
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "kx_page_maker FOLDER\n";
        return 2;
    }
    try {
        const std::filesystem::path folder = arguments[1];
        WritePage(folder / "sample.html", kx_test::HostileRun());
        WritePage(folder / "large.html", kx_test::LargeRun(100000));
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
