#include "Tools/kx_gpsim/store_digest.h"

#include "Tools/kx_gpsim/wide_text.h"

#include <cstdint>

namespace {

constexpr const char* kPrecedence = "precedence";

// Numbers of 32 bits are exchanged as signed ones; a precedence has no sign.
std::string TextOf(const CComVariant& value, const std::string& property)
{
    if (value.vt == VT_I4 && property == kPrecedence)
        return std::to_string(static_cast<std::uint32_t>(value.lVal));
    CComVariant text;
    if (FAILED(text.ChangeType(VT_BSTR, &value)))
        return {};
    return kx::Narrow({text.bstrVal, ::SysStringLen(text.bstrVal)});
}

} // namespace

std::vector<kx::RecordedInstance> DigestStore(const CkxRsopStore& store)
{
    std::vector<kx::RecordedInstance> recorded;
    for (const CkxRsopStore::Instance& instance : store.Instances()) {
        kx::RecordedInstance& entry = recorded.emplace_back();
        entry.className = kx::Narrow(instance.className);
        for (const auto& [wideName, value] : instance.properties) {
            const std::string name = kx::Narrow(wideName);
            const bool isNull = value.vt == VT_NULL;
            entry.properties.push_back({name, isNull ? std::string() : TextOf(value, name), isNull});
        }
    }
    return recorded;
}
