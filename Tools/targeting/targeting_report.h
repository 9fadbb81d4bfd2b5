#pragma once

#include <windows.h>

#include <string>

/// What could not be done as asked: lines at the end of "targeting-report.txt" in a work folder, in UTF-8,
/// one a finding. The file grows from call to call; who reads it removes it.
class CkxTargetingReport {
  public:
    /// For the work folder at `folder`, which is there.
    explicit CkxTargetingReport(std::wstring folder) : _m_folder(std::move(folder)) {}

    /// Keeps a finding; line breaks and the like in it become blanks.
    void Add(std::wstring finding);

    /// Writes what was kept, or nothing where there is none. Returns a Windows error. Reports of several
    /// threads or processes leave one another's lines whole.
    [[nodiscard]] DWORD Save();

  private:
    std::wstring _m_folder;
    std::string _m_lines;
};
