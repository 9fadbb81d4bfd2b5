#pragma once

#include "Tools/rsop_store/wbem_code.h"

#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What an object's BeginEnumeration starts: a walk through names. Thread-safe.
class CkxNameCursor {
  public:
    /// Starts the walk, or starts it anew.
    void Begin(std::vector<std::wstring> names)
    {
        const std::lock_guard hold(_m_lock);
        _m_names = std::move(names);
        _m_next = 0;
    }

    /// The next name with a look-up of what it names: names that `read` does not find any more are passed
    /// over. WBEM_S_NO_MORE_DATA at the end, kWbemUnexpected without a walk.
    template <class Read>
    [[nodiscard]] HRESULT Next(std::wstring& name, const Read& read)
    {
        HRESULT hr = kx::kWbemNotFound;
        while (hr == kx::kWbemNotFound) {
            hr = _Step(name);
            if (hr != S_OK)
                return hr;
            hr = read(name);
        }
        return hr;
    }

    /// Ends the walk.
    void End()
    {
        const std::lock_guard hold(_m_lock);
        _m_names.reset();
    }

  private:
    [[nodiscard]] HRESULT _Step(std::wstring& name)
    {
        const std::lock_guard hold(_m_lock);
        if (!_m_names)
            return kx::kWbemUnexpected;
        if (_m_next == _m_names->size())
            return WBEM_S_NO_MORE_DATA;
        name = (*_m_names)[_m_next++];
        return S_OK;
    }

    std::mutex _m_lock; // guards both
    std::optional<std::vector<std::wstring>> _m_names;
    std::size_t _m_next = 0;
};
