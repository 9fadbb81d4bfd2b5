#include "Common_CPP/path_converter/path_forms.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using kx::PathKind;
using kx::PathResult;

struct ParseRow {
    std::wstring path;
    PathKind kind;
    std::wstring root;
    std::wstring rest;
    std::wstring verbatim; ///< empty: as the path
};

const ParseRow c_parseRows[] = {
    {L"C:\\dir\\f", PathKind::Drive, L"C:", L"\\dir\\f", L"\\\\?\\C:\\dir\\f"},
    {L"c:/", PathKind::Drive, L"c:", L"/", L"\\\\?\\c:\\"},
    {L"\\\\?\\C:\\dir", PathKind::Drive, L"C:", L"\\dir", L""},
    {L"\\\\.\\C:\\dir", PathKind::Drive, L"C:", L"\\dir", L"\\\\?\\C:\\dir"},
    {L"\\??\\C:\\dir", PathKind::Drive, L"C:", L"\\dir", L"\\\\?\\C:\\dir"},
    {L"\\GLOBAL??\\UNC\\s\\h", PathKind::Unc, L"s\\h", L"", L"\\\\?\\UNC\\s\\h"},
    {L"\\\\s\\h\\dir", PathKind::Unc, L"s\\h", L"\\dir", L"\\\\?\\UNC\\s\\h\\dir"},
    {L"//s/h/dir", PathKind::Unc, L"s/h", L"/dir", L"\\\\?\\UNC\\s\\h\\dir"},
    {L"\\\\?\\unc\\s\\h\\d/e", PathKind::Unc, L"s\\h", L"\\d/e", L"\\\\?\\UNC\\s\\h\\d/e"},
    {L"\\Device\\Mup\\s\\h\\d", PathKind::Unc, L"s\\h", L"\\d", L"\\\\?\\UNC\\s\\h\\d"},
    {L"\\Device\\LanmanRedirector\\;Z:00f\\s\\h", PathKind::Unc, L"s\\h", L"", L"\\\\?\\UNC\\s\\h"},
    {L"\\Device\\Mup\\;WebDavRedirector\\;Z:0\\s\\h\\d", PathKind::Unc, L"s\\h", L"\\d",
     L"\\\\?\\UNC\\s\\h\\d"},
    {L"\\Device\\Mup\\;", PathKind::NtDevice, L"\\Device\\Mup", L"\\;", L"\\\\?\\GLOBALROOT\\Device\\Mup\\;"},
    {L"\\Device\\Mup\\s", PathKind::NtDevice, L"\\Device\\Mup", L"\\s", L"\\\\?\\GLOBALROOT\\Device\\Mup\\s"},
    {L"\\device\\Disk1\\d", PathKind::NtDevice, L"\\device\\Disk1", L"\\d",
     L"\\\\?\\GLOBALROOT\\device\\Disk1\\d"},
    {L"\\\\?\\GlobalRoot\\Device\\Disk1", PathKind::NtDevice, L"\\Device\\Disk1", L"",
     L"\\\\?\\GLOBALROOT\\Device\\Disk1"},
    {L"\\\\?\\GLOBALROOT\\??\\C:", PathKind::DosDevice, L"GLOBALROOT", L"\\??\\C:", L""},
    {L"\\\\?\\Volume{1}\\d", PathKind::DosDevice, L"Volume{1}", L"\\d", L""},
    {L"\\\\.\\pipe\\n", PathKind::DosDevice, L"pipe", L"\\n", L"\\\\?\\pipe\\n"},
    {L"C:dir", PathKind::DriveRelative, L"", L"C:dir", L""},
    {L"\\dir", PathKind::Rooted, L"", L"\\dir", L""},
    {L"dir\\f", PathKind::Relative, L"", L"dir\\f", L""},
    {L"1:\\f", PathKind::Relative, L"", L"1:\\f", L""},
};

/// A machine with two disks, a volume without letter, substituted and mapped drives.
class FakeDevices final : public kx::DosDeviceTable<wchar_t> {
  public:
    [[nodiscard]] bool FindTarget(std::wstring_view name, std::wstring& target) const override
    {
        const auto found = _m_targets.find(std::wstring(name));
        if (found == _m_targets.end())
            return false;
        target = found->second;
        return true;
    }

  private:
    const std::map<std::wstring, std::wstring> _m_targets = {
        {L"C:", L"\\Device\\Disk1"},
        {L"D:", L"\\Device\\Disk10"},
        {L"E:", L"\\??\\C:\\work"},                                         // substituted
        {L"F:", L"\\??\\E:\\deep\\"},                                       // for a substituted one
        {L"G:", L"\\??\\UNC\\s\\h\\sub"},                                   // for a share
        {L"H:", L"\\??\\Volume{1}\\m"},                                     // for a volume without letter
        {L"L:", L"\\??\\M:\\"},                                             // for each other
        {L"M:", L"\\??\\L:\\x"},                                            //
        {L"Y:", L"\\Device\\Mup\\;LanmanRedirector\\;Y:0\\S\\h\\sub\\dir"}, // mapped, below the share
        {L"Z:", L"\\Device\\LanmanRedirector\\;Z:0\\s\\h"},                 // mapped
        {L"pipe", L"\\Device\\NamedPipe"},
        {L"Volume{1}", L"\\Device\\Disk3"},
    };
};

/// A path in the three forms; "?" stands for UnknownDevice, "-" for NoSuchForm, "!" for NotAbsolute and "@"
/// for EndlessLinks.
struct ConvertRow {
    const char* why;
    std::wstring path;
    std::wstring nt;
    std::wstring dos;
    std::wstring unc;
};

const ConvertRow c_convertRows[] = {
    {"disk", L"C:\\d\\f", L"\\Device\\Disk1\\d\\f", L"C:\\d\\f", L"-"},
    {"name begins like another's", L"\\Device\\Disk10\\d", L"\\Device\\Disk10\\d", L"D:\\d", L"-"},
    {"device without letter", L"\\Device\\Disk2\\d", L"\\Device\\Disk2\\d", L"?", L"-"},
    {"only substituted", L"\\Device\\Disk3\\M\\f", L"\\Device\\Disk3\\M\\f", L"H:\\f", L"-"},
    {"the disk goes before it", L"\\Device\\Disk1\\work\\f", L"\\Device\\Disk1\\work\\f", L"C:\\work\\f",
     L"-"},
    {"substituted twice", L"F:\\f", L"\\Device\\Disk1\\work\\deep\\f", L"F:\\f", L"-"},
    {"share", L"\\\\s\\h\\f", L"\\Device\\Mup\\s\\h\\f", L"Z:\\f", L"\\\\s\\h\\f"},
    {"the deeper mapping goes first", L"\\\\?\\UNC\\s\\h\\SUB\\dir\\f", L"\\Device\\Mup\\s\\h\\SUB\\dir\\f",
     L"Y:\\f", L"\\\\s\\h\\SUB\\dir\\f"},
    {"share without letter", L"\\\\s\\other\\f", L"\\Device\\Mup\\s\\other\\f", L"-", L"\\\\s\\other\\f"},
    {"begins like a mapped one", L"\\\\s\\hh\\f", L"\\Device\\Mup\\s\\hh\\f", L"-", L"\\\\s\\hh\\f"},
    {"substituted for a share", L"G:\\f", L"\\Device\\Mup\\s\\h\\sub\\f", L"G:\\f", L"\\\\s\\h\\sub\\f"},
    {"redirector's own name", L"\\Device\\LanmanRedirector\\;X:1\\s\\h\\f", L"\\Device\\Mup\\s\\h\\f",
     L"Z:\\f", L"\\\\s\\h\\f"},
    {"volume's name", L"\\\\?\\Volume{1}\\x", L"\\Device\\Disk3\\x", L"?", L"-"},
    {"relative", L"d\\f", L"!", L"!", L"!"},
    {"root of a device", L"\\Device\\Disk1", L"\\Device\\Disk1", L"C:\\", L"-"},
    {"no such drive", L"Q:\\f", L"?", L"Q:\\f", L"?"},
    {"drives that stand for each other", L"L:\\f", L"@", L"L:\\f", L"@"},
};

using Conversion = PathResult (*)(std::wstring_view, const kx::DosDeviceTable<wchar_t>&, std::wstring&);

/// The result, or the sign of the failure; a failure must leave the text alone.
std::wstring Convert(Conversion conversion, const std::wstring& path)
{
    std::wstring text = L"kept";
    const PathResult result = conversion(path, FakeDevices(), text);
    if (result == PathResult::Done)
        return text;
    EXPECT_EQ(text, L"kept");
    switch (result) {
    case PathResult::UnknownDevice:
        return L"?";
    case PathResult::NoSuchForm:
        return L"-";
    case PathResult::EndlessLinks:
        return L"@";
    default:
        return L"!";
    }
}

} // namespace

TEST(PathForms, TakenApartAndMadeVerbatim)
{
    for (const ParseRow& row : c_parseRows) {
        const kx::PathParts<wchar_t> parts = kx::ParsePath<wchar_t>(row.path);
        EXPECT_EQ(parts.kind, row.kind) << testing::PrintToString(row.path);
        EXPECT_EQ(parts.root, row.root) << testing::PrintToString(row.path);
        EXPECT_EQ(parts.rest, row.rest) << testing::PrintToString(row.path);
        EXPECT_EQ(kx::VerbatimForm<wchar_t>(row.path), row.verbatim.empty() ? row.path : row.verbatim);
    }
    for (const std::wstring bad :
         {L"", L"\\\\", L"\\\\s", L"\\\\s\\\\h", L"\\\\?\\", L"\\\\?\\UNC", L"\\Device\\"}) {
        EXPECT_EQ(kx::ParsePath<wchar_t>(bad).kind, PathKind::Bad) << testing::PrintToString(bad);
        EXPECT_EQ(kx::VerbatimForm<wchar_t>(bad), bad);
    }
}

TEST(PathForms, EachToEach)
{
    for (const ConvertRow& row : c_convertRows) {
        EXPECT_EQ(Convert(kx::PathToNt<wchar_t>, row.path), row.nt) << row.why;
        EXPECT_EQ(Convert(kx::PathToDos<wchar_t>, row.path), row.dos) << row.why;
        EXPECT_EQ(Convert(kx::PathToUnc<wchar_t>, row.path), row.unc) << row.why;
    }
}

// No text may lead outside of itself; the sanitizers watch.
TEST(PathForms, AnyTextOfPathCharacters)
{
    const std::wstring_view pieces[] = {L"\\",  L"\\\\?", L"\\\\.", L"\\??", L"\\Device",
                                        L"UNC", L"C:",    L";",     L"Mup",  L"/"};
    std::vector<std::wstring> texts{L""};
    for (std::size_t begin = 0, round = 0; round < 4; ++round) {
        const std::size_t end = texts.size();
        for (; begin < end; ++begin)
            for (const std::wstring_view piece : pieces)
                texts.push_back(texts[begin] + std::wstring(piece));
    }
    for (const std::wstring& text : texts) {
        const std::wstring verbatim = kx::VerbatimForm<wchar_t>(text);
        const kx::PathParts<wchar_t> parts = kx::ParsePath<wchar_t>(text);
        const kx::PathParts<wchar_t> again = kx::ParsePath<wchar_t>(verbatim);
        ASSERT_TRUE(parts.kind == again.kind && parts.root.size() == again.root.size() &&
                    parts.rest.size() == again.rest.size())
            << testing::PrintToString(text);
    }
}
