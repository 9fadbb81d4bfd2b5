#pragma once

#include <cstddef>

/// The handles that this process has open, counted in the system's own list: the process's count is not kept
/// everywhere. Waits a little for `expected` where other threads are still about to close some.
[[nodiscard]] std::size_t CountHandles(std::size_t expected = 0);
