#include "Common_CPP/trace/rotation.h"

#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/rotation_plan.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

#include <algorithm>
#include <array>
#include <new>
#include <vector>

namespace {

CString Wide(std::string_view text)
{
    CString wide;
    if (!kx::Utf8ToWide(text, wide))
        throw std::bad_alloc();
    return wide;
}

std::string Narrow(const CString& text)
{
    std::string narrow;
    if (!kx::WideToUtf8(kx::View(text), narrow))
        throw std::bad_alloc();
    return narrow;
}

// As much of a file's beginning as tells whether it continues another.
std::string BeginningOf(const CString& path)
{
    std::array<char, kx::kChainHeaderProbe> text{};
    const CkxFileHandle file(::CreateFileW(path, GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr))
        read = 0;
    return {text.data(), read};
}

std::vector<kx::ListedFile> ListChain(const kx::RotatedNames& names)
{
    std::vector<kx::ListedFile> listed;
    WIN32_FIND_DATAW found;
    const CkxFindHandle search(::FindFirstFileW(Wide(names.Folder() + "*"), &found));
    for (BOOL more = search ? TRUE : FALSE; more; more = ::FindNextFileW(search.Get(), &found)) {
        std::string name;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ||
            !kx::WideToUtf8(found.cFileName, name) || !names.NumberOf(name))
            continue;
        const std::string beginning = BeginningOf(Wide(names.Folder() + name));
        listed.push_back({name, kx::IsChainFile(beginning)});
    }
    return listed;
}

bool Carry(const kx::Move& move)
{
    return move.remove ? ::DeleteFileW(Wide(move.from)) != FALSE
                       : ::MoveFileW(Wide(move.from), Wide(move.to)) != FALSE; // never over another file
}

// The number in the header of the file that follows one with this beginning: the chain counts on.
std::uint32_t NextChainNumber(const std::string& beginning)
{
    return kx::ChainNumber(beginning).value_or(1) + 1;
}

bool Rotate(filebuf& file, const kx::Rotation& rotation)
{
    const std::string path = Narrow(file.Path());
    const kx::RotatedNames names(path, rotation.pattern, ::GetCurrentProcessId(), D_ReadLocalClock());
    const std::vector<kx::Move> moves = kx::PlanRotation(names, path, rotation.count, ListChain(names));
    const std::string header = kx::ChainHeader(NextChainNumber(BeginningOf(file.Path())), moves.back().to);
    if (rotation.count == 0)
        return file.Reopen(true) == ERROR_SUCCESS;
    // The file stays open while it gets its new name: should no other be to be had, its lines go there.
    if (!std::all_of(moves.begin(), moves.end(), Carry) || file.Reopen(false) != ERROR_SUCCESS)
        return false;
    (void)file.Write(header);
    return true;
}

} // namespace

bool D_RotateTraceFile(filebuf& file, const kx::Rotation& rotation) noexcept
{
    try {
        if (!file.IsStillAtItsPath())
            return file.Reopen(false) == ERROR_SUCCESS;
        return Rotate(file, rotation);
    } catch (...) { // out of memory: the file is still open, under the one name or the other
        return false;
    }
}
