#include "Common_CPP/ntapi/operating_system.h"
#include "Common_CPP/util/reg_key.h"

#include <gtest/gtest.h>

TEST(OperatingSystem, DescribesItself)
{
    constexpr BYTE workstation = VER_NT_WORKSTATION;
    constexpr BYTE server = VER_NT_SERVER;
    constexpr WORD x64 = IMAGE_FILE_MACHINE_AMD64;

    const std::pair<CkxOperatingSystemFacts, const wchar_t*> rows[] = {
        {{6, 1, 7601, 1, 0, workstation, 0x04, x64},
         L"Windows 7 Enterprise Service Pack 1, version 6.1.7601, x64, workstation"},
        {{6, 0, 6002, 2, 5, server, 0x07, IMAGE_FILE_MACHINE_I386},
         L"Windows Server 2008 Standard Service Pack 2.5, version 6.0.6002, x86, server"},
        {{6, 3, 9600, 0, 0, VER_NT_DOMAIN_CONTROLLER, 0x08, x64},
         L"Windows Server 2012 R2 Datacenter, version 6.3.9600, x64, domain controller"},
        {{10, 0, 19045, 0, 0, workstation, 0x30, x64},
         L"Windows 10 Professional, version 10.0.19045, x64, workstation"},
        {{10, 0, 22000, 0, 0, workstation, 0x65, 0xAA64},
         L"Windows 11 Home, version 10.0.22000, ARM64, workstation"},
        {{10, 0, 14393, 0, 0, server, 0x0D, x64},
         L"Windows Server 2016 Standard (core), version 10.0.14393, x64, server"},
        {{10, 0, 17763, 0, 0, server, 0, x64}, L"Windows Server 2019, version 10.0.17763, x64, server"},
        {{10, 0, 20348, 0, 0, server, 0xFEDC, 0x1234},
         L"Windows Server 2022 edition 0xFEDC, version 10.0.20348, machine 0x1234, server"},
        {{12, 0, 1, 0, 0, workstation, 0, x64}, L"Windows, version 12.0.1, x64, workstation"},
    };
    for (const auto& [facts, text] : rows)
        EXPECT_STREQ(CkxOperatingSystem(facts).GetText(), text);
}

TEST(OperatingSystem, ComparesVersions)
{
    const CkxOperatingSystem system({10, 0, 19045, 0, 0, VER_NT_WORKSTATION, 0x30, IMAGE_FILE_MACHINE_AMD64});
    EXPECT_TRUE(system.IsAtLeast(6, 3, 99999) && system.IsAtLeast(10, 0) && system.IsAtLeast(10, 0, 19045));
    EXPECT_FALSE(system.IsAtLeast(10, 0, 19046) || system.IsAtLeast(10, 1) || system.IsAtLeast(11, 0));
}

TEST(OperatingSystem, ReadsTheRunningOne)
{
    CkxOperatingSystem system;
    ASSERT_EQ(CkxOperatingSystem::Read(system), DWORD{ERROR_SUCCESS});
    CkxRegKey key;
    CString build;
    ASSERT_EQ(key.Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", KEY_READ), 0);
    ASSERT_EQ(key.QueryString(L"CurrentBuildNumber", build, 64), 0);
    EXPECT_EQ(std::to_wstring(system.GetFacts().build), build.GetString());
    EXPECT_STREQ(system.GetArchitecture(), L"x64"); // what these tests are built for
}
