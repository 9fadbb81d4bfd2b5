#pragma once

#include <string>

/// A link to a folder, for a scope. Where the system only pretends to make and delete links, a Unix program
/// does it. Says what went wrong as a failure of the running test.
class FolderLink {
  public:
    FolderLink(const std::wstring& link, const std::wstring& target);
    ~FolderLink();
    FolderLink(const FolderLink&) = delete;
    FolderLink& operator=(const FolderLink&) = delete;

  private:
    [[nodiscard]] bool _Becomes(bool there) const;

    std::wstring _m_link;
};
