#pragma once

#include "Tools/targeting/file_version.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx {

/// The two names of a computer.
enum class ComputerName { NetBios, Dns };

/// Whom a question is about.
enum class Principal { User, Computer };

/// What is found at a path. CannotTell: something forbids to look, or nobody knows.
enum class FileState { Absent, File, Folder, CannotTell };

/// What the version resource of a file says.
struct FileVersionFact {
    enum class State { Known, None, CannotTell };

    State state = State::CannotTell;
    FileVersion version{}; ///< where it is known
};

/// An environment variable.
struct VariableFact {
    enum class State { Set, NotSet, CannotTell };

    State state = State::CannotTell;
    std::wstring value; ///< where it is set
};

/// A security group as a filter names it: by its sid (S-1-...), its name (DOMAIN\group), or both; the sid
/// counts where both can be compared.
struct GroupId {
    std::wstring name;
    std::wstring sid;
};

/// What is known of a system in words; filters have words of their own for them.
enum class OsPart { Version, Type, Edition, ServicePack };

/// The system's version in numbers.
struct OsRelease {
    unsigned major = 0;
    unsigned minor = 0;
    bool isServer = false;
};

/// Whose language, as a locale identifier (LCID).
enum class LanguageOf { User, System, Native };

/// The computer's addresses: IPv4 as a number of 32 bits, MAC as one of 48, most significant byte first.
enum class AddressKind { Ipv4, Mac };

/// A whole number that the computer is described by.
enum class Quantity { RamMegabytes, CpuMegahertz };

/// What may be built in, or not.
enum class Device { Battery, PcCard };

/// Whether the computer is a portable one, and whether it stands in its station.
enum class PortableState { NotPortable, Unknown, Docked, Undocked };

/// From where the user works.
enum class SessionKind { Console, RemoteDesktop, Other };

/// How the engine works; several may hold at once.
enum class ProcessingMode {
    SyncForeground,
    AsyncForeground,
    Background,
    ForcedRefresh,
    LinkTransition,
    NoChanges,
    RsopTransition,
    SafeBoot,
    SlowLink,
    VerboseLog,
    RsopEnabled,
};

/// The computer's local time.
struct LocalMoment {
    std::chrono::year_month_day date;
    unsigned secondOfDay = 0;
};

/// Languages of questions that only another program can answer.
enum class QueryLanguage { Ldap, Wmi };

enum class RegistryHive { LocalMachine, CurrentUser, Users, CurrentConfig };

/// A value in the registry; the value without a name is the key's default value.
struct RegistryPlace {
    RegistryHive hive = RegistryHive::LocalMachine;
    std::wstring key;
    std::wstring value;
};

enum class RegistryType { Text, ExpandText, Dword, Qword, Binary, Other };

/// What stands at a place in the registry.
struct RegistryFact {
    enum class State { NoKey, NoValue, Value, CannotTell };

    State state = State::CannotTell;
    RegistryType type = RegistryType::Other;
    std::wstring text;               ///< of the two kinds of text, unexpanded
    std::vector<std::uint8_t> bytes; ///< of the others, as the registry holds them
};

} // namespace kx
