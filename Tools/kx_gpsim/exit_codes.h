#pragma once

#include <stdexcept>
#include <string>

namespace kx {

/// What the program tells its caller. These are documented and stay as they are.
enum class ExitCode : int {
    Done = 0,
    DoneWithErrors = 1, ///< some GPO, or the extension, had an error
    Usage = 2,
    Environment = 3, ///< no agent to be played, no extension, a file that cannot be written
    LintFindings = 4,
    Differences = 5,
    Internal = 70
};

/// Why a command ends without having done its work, in words for the user.
class ToolError : public std::runtime_error {
  public:
    ToolError(ExitCode code, const std::string& message) : std::runtime_error(message), _m_code(code) {}

    [[nodiscard]] ExitCode Code() const { return _m_code; }

  private:
    ExitCode _m_code;
};

/// A fault of what the user gave.
class UsageError : public ToolError {
  public:
    explicit UsageError(const std::string& message) : ToolError(ExitCode::Usage, message) {}
};

/// A fault of the machine or of what runs on it.
class EnvironmentError : public ToolError {
  public:
    explicit EnvironmentError(const std::string& message) : ToolError(ExitCode::Environment, message) {}
};

} // namespace kx
