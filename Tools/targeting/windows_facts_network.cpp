// The addresses of the network adapters. The sockets' header must come before all others of the system.
#include <winsock2.h>

#include "Tools/targeting/windows_facts.h"

#include <iphlpapi.h>

#include <memory>

namespace {

constexpr std::size_t kMacBytes = 6;

std::uint64_t NumberOf(const std::uint8_t* bytes, std::size_t count)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < count; ++i)
        number = number << 8 | bytes[i];
    return number;
}

// All adapters; null where the system does not say.
std::unique_ptr<BYTE[]> ReadAdapters()
{
    constexpr ULONG firstGuess = 16 * 1024;
    constexpr ULONG flags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    constexpr int attempts = 4; // adapters may come while we look
    ULONG size = firstGuess;
    for (int i = 0; i < attempts; ++i) {
        auto room = std::make_unique<BYTE[]>(size);
        auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(room.get());
        const ULONG error = ::GetAdaptersAddresses(AF_INET, flags, nullptr, first, &size);
        if (error == ERROR_SUCCESS)
            return room;
        if (error == ERROR_NO_DATA) {
            *first = {};
            first->IfType = IF_TYPE_SOFTWARE_LOOPBACK; // one that is passed over
            return room;
        }
        if (error != ERROR_BUFFER_OVERFLOW)
            break;
    }
    return nullptr;
}

void AddIpv4(const IP_ADAPTER_ADDRESSES& adapter, std::vector<std::uint64_t>& addresses)
{
    for (const auto* each = adapter.FirstUnicastAddress; each != nullptr; each = each->Next) {
        const sockaddr* const address = each->Address.lpSockaddr;
        if (address->sa_family == AF_INET)
            addresses.push_back(NumberOf(reinterpret_cast<const std::uint8_t*>(
                                             &reinterpret_cast<const sockaddr_in*>(address)->sin_addr),
                                         sizeof(in_addr)));
    }
}

} // namespace

std::optional<std::vector<std::uint64_t>> CkxWindowsFacts::Addresses(kx::AddressKind kind) const
{
    const auto adapters = ReadAdapters();
    if (!adapters)
        return std::nullopt;
    std::vector<std::uint64_t> addresses;
    for (const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(adapters.get());
         adapter != nullptr; adapter = adapter->Next) {
        if (adapter->IfType == IF_TYPE_SOFTWARE_LOOPBACK)
            continue;
        if (kind == kx::AddressKind::Ipv4)
            AddIpv4(*adapter, addresses);
        else if (adapter->PhysicalAddressLength == kMacBytes)
            addresses.push_back(NumberOf(adapter->PhysicalAddress, kMacBytes));
    }
    return addresses;
}
