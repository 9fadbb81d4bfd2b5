#pragma once

#include <string>
#include <string_view>

/// A folder of its own under the temporary folder, removed with everything in it at the end.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return _m_path; }

    /// The path of something in it: `name` may have folders in front, with backslashes.
    [[nodiscard]] std::wstring operator/(const std::wstring& name) const { return _m_path + L"\\" + name; }

    /// Writes a file, making the folders on its way; returns its path.
    std::wstring Write(const std::wstring& name, std::string_view bytes) const;

  private:
    std::wstring _m_path;
};

/// The bytes of a file, also of one that somebody holds open; empty when there is none.
[[nodiscard]] std::string ReadBytes(const std::wstring& path);
