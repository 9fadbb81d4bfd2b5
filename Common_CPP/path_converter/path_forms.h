// The forms that one path can have, told apart and turned into each other without asking the system.
//
//   DOS     C:\folder\file                      \\?\C:\folder\file          \??\C:\folder\file
//   UNC     \\server\share\file                 \\?\UNC\server\share\file   \Device\Mup\server\share\file
//   device  \\.\pipe\name                       \\?\Volume{...}\file
//   NT      \Device\HarddiskVolume1\file        \\?\GLOBALROOT\Device\HarddiskVolume1\file
//
// What a letter or another DOS device stands for is a link that a table answers for: an NT device, a share
// ("\Device\LanmanRedirector\;Z:0000000000012345\server\share") for a mapped drive, or, for a substituted
// one, another DOS path ("\??\C:\folder"). Names are compared without regard to the case of ASCII letters.
#pragma once

#include <string>
#include <string_view>

namespace kx {

/// What a path is relative to.
enum class PathKind {
    Bad,           ///< nothing that can be a path: empty, or a prefix with too little after it
    Relative,      ///< "folder\file": the current folder
    Rooted,        ///< "\folder\file": the current drive
    DriveRelative, ///< "C:file": the current folder of a drive
    Drive,
    Unc,
    DosDevice,
    NtDevice,
};

/// How the path was marked.
enum class PathPrefix {
    None,
    Local,    ///< "\\.\"
    Verbatim, ///< "\\?\"
    Object,   ///< "\??\", "\DosDevices\" or "\GLOBAL??\"
    Device,   ///< "\Device\"
};

/// A path in its parts; the views point into the path.
template <class Char>
struct PathParts {
    PathKind kind = PathKind::Bad;
    PathPrefix prefix = PathPrefix::None;
    std::basic_string_view<Char> root; ///< "C:", "server\share", "pipe", "\Device\Name"; empty for the others
    std::basic_string_view<Char> rest; ///< what follows: empty, or beginning with a separator
};

/// Takes a path apart. "/" separates too where there is no prefix; after one only "\" does.
template <class Char>
[[nodiscard]] PathParts<Char> ParsePath(std::basic_string_view<Char> path) noexcept;

/// The "\\?\" form of an absolute path, which is free of the length limit; others come back as they are.
/// REQUIRES: "." and ".." are resolved, since the system no longer does that then.
template <class Char>
[[nodiscard]] std::basic_string<Char> VerbatimForm(std::basic_string_view<Char> path);

/// Asked for what a DOS device stands for.
template <class Char>
class DosDeviceTable {
  public:
    /// Puts the NT path that `name` ("C:", "pipe") links to into `target`; false for an unknown device.
    [[nodiscard]] virtual bool FindTarget(std::basic_string_view<Char> name,
                                          std::basic_string<Char>& target) const = 0;

  protected:
    DosDeviceTable() = default;
    DosDeviceTable(const DosDeviceTable&) = default;
    DosDeviceTable& operator=(const DosDeviceTable&) = default;
    ~DosDeviceTable() = default;
};

/// How a conversion ended.
enum class PathResult {
    Done,
    NotAbsolute,   ///< the path is bad or relative
    UnknownDevice, ///< no such DOS device, or no letter for an NT device
    NoSuchForm,    ///< not on a share, or on one that has no letter
    EndlessLinks,  ///< substituted drives that stand for each other
};

/// Turns an absolute path of any form into the NT form; shares get "\Device\Mup\". On failure `converted`
/// stays as it was, here and below.
template <class Char>
[[nodiscard]] PathResult PathToNt(std::basic_string_view<Char> path, const DosDeviceTable<Char>& devices,
                                  std::basic_string<Char>& converted);

/// Turns an absolute path of any form into the one with a drive letter, without prefix. Of several letters a
/// volume or mapped drive goes before a substituted one, then the one that leaves the shortest path; a path
/// that has a letter keeps it.
template <class Char>
[[nodiscard]] PathResult PathToDos(std::basic_string_view<Char> path, const DosDeviceTable<Char>& devices,
                                   std::basic_string<Char>& converted);

/// Turns an absolute path of any form, if it lies on a share, into "\\server\share\...".
template <class Char>
[[nodiscard]] PathResult PathToUnc(std::basic_string_view<Char> path, const DosDeviceTable<Char>& devices,
                                   std::basic_string<Char>& converted);

} // namespace kx
