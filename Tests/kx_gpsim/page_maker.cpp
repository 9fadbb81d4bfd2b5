// Writes report pages to look at and to test in a browser.
//
//     kx_page_maker <folder>                  sample.html, with hostile names; large.html, of 100,000
//     policies kx_page_maker <folder> <run.json>...    a page of each saved run

#include "Tests/kx_gpsim/page_runs.h"
#include "Tools/kx_gpsim/report_html.h"
#include "Tools/kx_gpsim/run_json.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

void WritePage(const std::filesystem::path& file, const kx::RunResult& run)
{
    std::ofstream out(file, std::ios::binary);
    out << kx::FormatReportHtml(run, kx::MakeReport(run));
    if (!out.flush())
        throw std::runtime_error(file.string() + " cannot be written");
}

kx::RunResult ReadRun(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    return kx::ParseRun(text, file.string());
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 2) {
        std::cerr << "kx_page_maker FOLDER [RUN.json...]\n";
        return 2;
    }
    try {
        const std::filesystem::path folder = arguments[1];
        for (int i = 2; i < count; ++i)
            WritePage(folder / std::filesystem::path(arguments[i]).filename().replace_extension(".html"),
                      ReadRun(arguments[i]));
        if (count > 2)
            return 0;
        WritePage(folder / "sample.html", kx_test::HostileRun());
        WritePage(folder / "large.html", kx_test::LargeRun(100000));
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
