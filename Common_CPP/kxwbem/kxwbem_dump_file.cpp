#include "Common_CPP/kxwbem/kxwbem_dump_file.h"

#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t c_pieceSize = std::size_t{32} * 1024 * 1024; // some file servers refuse much more

HRESULT WriteAll(HANDLE file, std::string_view bytes)
{
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data(), static_cast<DWORD>((std::min)(bytes.size(), c_pieceSize)),
                         &written, nullptr))
            return HRESULT_FROM_WIN32(::GetLastError());
        if (written == 0)
            return HRESULT_FROM_WIN32(ERROR_WRITE_FAULT);
        bytes.remove_prefix(written);
    }
    return S_OK;
}

CString WithoutLoneSurrogates(CString text)
{
    wchar_t* const units = text.GetBuffer();
    const int length = text.GetLength();
    for (int i = 0; i < length; ++i) {
        if (IS_HIGH_SURROGATE(units[i]) && i + 1 < length && IS_LOW_SURROGATE(units[i + 1]))
            ++i;
        else if (IS_HIGH_SURROGATE(units[i]) || IS_LOW_SURROGATE(units[i]))
            units[i] = L'\xFFFD';
    }
    return text;
}

} // namespace

HRESULT CkxWbemDumpFile::Create(const wchar_t* path)
{
    CkxFileHandle file(::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return HRESULT_FROM_WIN32(::GetLastError());
    _m_file = std::move(file);
    _m_status = S_OK;
    return S_OK;
}

void CkxWbemDumpFile::Write(const CString& text)
{
    if (FAILED(_m_status))
        return;
    std::string bytes;
    if (kx::WideToUtf8(kx::View(text), bytes) || kx::WideToUtf8(kx::View(WithoutLoneSurrogates(text)), bytes))
        _m_status = WriteAll(_m_file.Get(), bytes);
    else
        _m_status = E_OUTOFMEMORY;
}
