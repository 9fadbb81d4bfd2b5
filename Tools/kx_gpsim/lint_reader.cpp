#include "Tools/kx_gpsim/lint_reader.h"

#include "Common_CPP/xml/xml_document.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"
#include "Tools/kx_gpsim/xml_encoding.h"
#include "Tools/kx_gpsim/xml_fault.h"
#include "Tools/targeting/filters.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr kx::PolicyFile kFiles[] = {kx::PolicyFile::Policies, kx::PolicyFile::ApplicationGroups,
                                     kx::PolicyFile::Tokens,   kx::PolicyFile::RestrictionRules,
                                     kx::PolicyFile::Gui,      kx::PolicyFile::Migration};

bool IsAbsent(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

// The column that people count, of one that counts bytes.
int CharacterColumn(const std::string& text, int line, int column)
{
    std::size_t start = 0;
    for (int i = 1; i < line; ++i)
        start = text.find('\n', start) + 1;
    int characters = 1;
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(column) && start + i < text.size(); ++i)
        characters += (static_cast<unsigned char>(text[start + i]) & 0xC0U) != 0x80 ? 1 : 0;
    return characters;
}

// What our XML layer says against the file; where it does not tell the place, we look ourselves.
kx::LintFault FaultOf(const CkxXMLParseError& error, const std::string& text)
{
    kx::LintFault fault{false,
                        {static_cast<int>(error.line), static_cast<int>(error.column)},
                        kx::Narrow(kx::View(error.reason))};
    if (fault.place.line > 0)
        return fault;
    if (const auto found = kx::FindXmlFault(text)) {
        fault.place = {found->line, CharacterColumn(text, found->line, found->column)};
        fault.reason = found->reason;
    }
    return fault;
}

// False where there is no such file.
bool ReadOne(const fs::path& path, const CkxXMLDocumentFactory& factory, kx::LintFile& file)
{
    file.path = kx::Narrow(path.wstring());
    std::string bytes;
    if (const DWORD error = kx::ReadBytes(path.wstring(), bytes); error != ERROR_SUCCESS) {
        file.fault = kx::LintFault{true, {}, kx::SystemText(error)};
        return !IsAbsent(error);
    }
    const std::string text = kx::Utf8OfXmlFile(bytes);
    CkxXMLDocument document(factory);
    if (document.LoadFromFile(CString(path.c_str())))
        file.root = kx::ParseXmlTree(text);
    else
        file.fault = FaultOf(document.LoadError(), text);
    return true;
}

kx::LintFolder ReadFolder(const CkxGpoSource& source, kx::Scope scope, const CkxXMLDocumentFactory& factory)
{
    const std::wstring& path = source.Folder(scope);
    kx::LintFolder folder;
    folder.scope = scope;
    folder.path = kx::Narrow(path);
    if (source.version)
        folder.version = scope == kx::Scope::Machine ? *source.version & 0xFFFF : *source.version >> 16;
    for (const kx::PolicyFile which : kFiles) {
        kx::LintFile file;
        file.which = which;
        if (ReadOne(kx::PolicyFilePath(path, false, which), factory, file))
            folder.files.push_back(std::move(file));
    }
    return folder;
}

// A scope's folder by itself tells no scope, so nothing can be said about its half of the version.
kx::LintGpo ReadGpo(const CkxGpoSource& source, const CkxXMLDocumentFactory& factory)
{
    kx::LintGpo gpo;
    gpo.name = source.request.name;
    gpo.displayName = source.request.displayName;
    gpo.path = source.request.path;
    for (const kx::Scope scope : {kx::Scope::Machine, kx::Scope::User})
        if (!source.Folder(scope).empty() && !(source.anyScope && scope == kx::Scope::User))
            gpo.folders.push_back(ReadFolder(source, scope, factory));
    if (source.anyScope)
        gpo.folders.front().version.reset();
    return gpo;
}

bool IsKnownFilter(std::string_view element)
{
    return kx::FindFilterKind(kx::Wide(element)) != nullptr;
}

} // namespace

kx::LintInput ReadForLint(const std::vector<CkxGpoSource>& sources)
{
    kx::LintInput input;
    input.isKnownFilter = IsKnownFilter;
    const CkxXMLDocumentFactory factory;
    for (const CkxGpoSource& source : sources)
        input.gpos.push_back(ReadGpo(source, factory));
    return input;
}
