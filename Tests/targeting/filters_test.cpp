// Every kind of filter over a facts file and a machine: what each form answers, which it does not understand,
// and whom it believes. Every row is asked negated too.

#include "Tests/targeting/ask_filter.h"
#include "Tools/targeting/plain_values.h"

#include <gtest/gtest.h>

namespace {

using std::wstring;
using std::wstring_view;

TEST(Filters, UsersComputersVariables)
{
    const FilterRow rows[] = {
        {__LINE__, Yes, L"User name=fernhill\\ANNA"},
        {__LINE__, Yes, L"User name=FERN*\\ann?|sid="},
        {__LINE__, CannotTell, L"User name=Anna"},
        {__LINE__, Yes, L"User name=OLD\\Name|sid=S-1-5-21-1-2-3-1001"},
        {__LINE__, No, L"User name=FERNHILL\\Anna|sid=S-1-5-18"},
        {__LINE__, CannotTell, L"User sid=S-1-5-Anna"},
        {__LINE__, CannotTell, L"User name=%site%\\Anna"},
        {__LINE__, CannotTell, L"User name=FERNHILL\\Anna|primary=1"},
        {__LINE__, CannotTell, L"User name=FERNHILL\\Anna|bool=XOR"},
        {__LINE__, No, L"User sid=S-1-5-21-7", L"user.sid = S-1-5-21-70"},
        {__LINE__, Yes, L"Computer type=DNS|name=PC-7.example.net"},
        {__LINE__, CannotTell, L"Computer name=PC-7"},
        {__LINE__, No, L"Computer type=NETBIOS|name=FH-?", L"computer.name = FH-17"},
        {__LINE__, No, L"Computer type=DNS|name=*.lab.example", L"computer.dns = lab.example"},
        {__LINE__, Yes, L"Variable variableName=site|value=NORTH|hidden=1"},
        {__LINE__, No, L"Variable variableName=SITE|value=N*"},
        {__LINE__, Yes, L"Variable variableName=NONE|value="},
        {__LINE__, CannotTell, L"Variable value=x"},
        {__LINE__, CannotTell, L"Collection"},
    };
    ExpectAnswers(rows);
    EXPECT_EQ(Ask(L"FilterUser name=FERNHILL\\Anna|not=true", L"", FakeFacts()), CannotTell);
}

TEST(Filters, Files)
{
    const FilterRow rows[] = {
        {__LINE__, Yes, L"File type=EXISTS|path=%ROOT%\\a.exe|folder=0"},
        {__LINE__, No, L"File type=EXISTS|path=%ROOT%\\a.exe|folder=1"},
        {__LINE__, No, L"File type=EXISTS|path=C:\\Tools\\none|folder=0"},
        {__LINE__, CannotTell, L"File type=EXISTS|path=C:\\locked|folder=0"},
        {__LINE__, CannotTell, L"File type=EXISTS|path=%NONE%\\a.exe|folder=0"},
        {__LINE__, CannotTell, L"File type=EXISTS|path=a.exe|folder=0"},
        {__LINE__, CannotTell, L"File type=EXISTS|path=C:\\Tools\\*.exe|folder=0"},
        {__LINE__, CannotTell, L"File type=EXISTS|path=C:\\Tools|folder=yes"},
        {__LINE__, CannotTell, L"File type=DATE|path=C:\\Tools"},
        {__LINE__, No, L"File type=EXISTS|path=D:\\x|folder=0", L"folder = D:\\x"},
        {__LINE__, No, L"File type=EXISTS|path=D:\\x|folder=1", L"absent = D:\\x"},
        {__LINE__, No, L"File type=VERSION|path=C:\\none|min=0.0.0.0|gte=1|max=9.0.0.0|lte=1"},
    };
    ExpectAnswers(rows);

    const FilterRow versions[] = {
        {__LINE__, Yes, L"min=2.5.0.0|gte=1|max=2.5.0.0|lte=1"},
        {__LINE__, No, L"min=2.5.0.0|gte=0|max=3.0.0.0|lte=1"},
        {__LINE__, No, L"min=1.0.0.0|gte=1|max=2.5.0.0|lte=0"},
        {__LINE__, CannotTell, L"min=1.0|gte=1|max=2.0|lte=1"},
        {__LINE__, CannotTell, L"min=1.0.0.0|gte=|max=2.0.0.0|lte=1"},
        {__LINE__, CannotTell, L"min=1.0.0.0|gte=1|max=2.0.0.0|lte=2"},
    };
    for (const FilterRow& row : versions)
        ExpectAnswer(row.line, L"File type=VERSION|path=%root%\\a.exe|folder=0|" + wstring(row.filter), L"",
                     FakeFacts(), row.expected);
}

TEST(Filters, GroupsAndTheDirectory)
{
    const wchar_t* const byName = L"Group name=FERNHILL\\Hall 2|userContext=1";
    const wchar_t* const bySid = L"Group sid=S-1-5-32-544|userContext=1";
    const wchar_t* const staff = L"user.group = F\\Other\nuser.primaryGroup = F\\Staff";
    const wchar_t* const below = L"OrgUnit name=OU=Dairy,DC=fernhill|userContext=0|directMember=0";
    const wchar_t* const direct = L"OrgUnit name=OU=Dairy,DC=fernhill|userContext=0|directMember=1";
    const wchar_t* const domain = L"Domain name=fernhill.example|userContext=0";
    const FilterRow rows[] = {
        {__LINE__, Yes, byName, L"user.group = S-1-5-32-544\nuser.group = Fernhill\\hall 2"},
        {__LINE__, No, byName, L"user.group = FERNHILL\\Hall 1"},
        {__LINE__, No, byName, L"user.group ="},
        {__LINE__, CannotTell, byName, L"user.group = S-1-5-32-544"},
        {__LINE__, CannotTell, bySid, L"user.group = FERNHILL\\Hall 2"},
        {__LINE__, Yes, bySid, L"user.group = S-1-5-32-544"},
        {__LINE__, Yes, L"Group name=a\\b|sid=S-1-5-9|userContext=0", L"computer.group = A\\B"},
        {__LINE__, No, byName, L"computer.group = FERNHILL\\Hall 2"}, // the machine's user is another matter
        {__LINE__, Yes, L"Group sid=S-1-5-32-545|userContext=1|primaryGroup=0|localGroup=0"},
        {__LINE__, CannotTell, L"Group sid=S-1-5-32-545|userContext=0"},
        {__LINE__, CannotTell, L"Group sid=S-1-5-32-545|userContext=1|localGroup=1"},
        {__LINE__, CannotTell, L"Group sid=S-1-5-32-545"},
        {__LINE__, CannotTell, L"Group userContext=1"},
        {__LINE__, Yes, L"Group name=F\\Staff|userContext=1|primaryGroup=1", staff},
        {__LINE__, No, L"Group name=F\\Other|userContext=1|primaryGroup=1", staff},
        {__LINE__, Yes, below, L"computer.ou = ou=Hall 2, ou=dairy,dc=Fernhill"},
        {__LINE__, No, direct, L"computer.ou = OU=Hall 2,OU=Dairy,DC=fernhill"},
        {__LINE__, Yes, direct, L"computer.ou = OU=Dairy , DC=fernhill"},
        {__LINE__, No, below, L"computer.ou = OU=Big\\,OU=Dairy,DC=fernhill"},
        {__LINE__, CannotTell, below, L"user.ou = OU=Dairy,DC=fernhill"},
        {__LINE__, Yes, L"OrgUnit name=OU=A,DC=d|userContext=1", L"user.ou = OU=B,OU=A,DC=d"},
        {__LINE__, CannotTell, L"OrgUnit name=Dairy|userContext=0", L"computer.ou = DC=fernhill"},
        {__LINE__, Yes, L"Site name=north", L"computer.site = North"},
        {__LINE__, No, L"Site name=south", L"computer.site = North"},
        {__LINE__, CannotTell, L"Site name=n*", L"computer.site = North"},
        {__LINE__, CannotTell, L"Site name=north"},
        {__LINE__, Yes, L"Domain name=fernhill|userContext=1", L"user.name = Fernhill\\Bert"},
        {__LINE__, Yes, L"Domain name=BRACKEN|userContext=1", L"user.domain = bracken"},
        {__LINE__, CannotTell, L"Domain name=fernhill.example|userContext=1"},
        {__LINE__, Yes, domain, L"computer.domain = FERNHILL\ncomputer.domain = fernhill.example"},
        {__LINE__, No, domain, L"computer.domain ="},
        {__LINE__, Yes, L"Ldap searchFilter=(cn=100%a%)|attribute=x", L"ldap.yes = (cn=100%a%)"},
        {__LINE__, No, L"Ldap searchFilter=(cn=b)", L"ldap.no = (cn=b)\nldap.yes = (cn=c)"},
        {__LINE__, CannotTell, L"Wmi query=select 1", L"wmi.no = select 1\nwmi.yes = select 1"},
        {__LINE__, Yes, L"Wmi query=select 1|nameSpace=root", L"wmi.yes = SELECT 1"},
        {__LINE__, No, L"Wmi query=select a", L"wmi.no = select a"},
        {__LINE__, CannotTell, L"Wmi query=select 1|variableName=x", L"wmi.yes = select 1"},
        {__LINE__, No, L"RunOnce id={A}", L"ranOnce = {a}"},
        {__LINE__, Yes, L"RunOnce id={B}", L"ranOnce = {a}"},
        {__LINE__, CannotTell, L"RunOnce id={B}"},
    };
    ExpectAnswers(rows);
}

TEST(Filters, TheSystemAndItsLanguage)
{
    const wchar_t* const seven = L"Os class=NT|version=WIN7|type=NE|edition=NE|sp=NE";
    const wchar_t* const sp = L"Os class=NT|version=WIN7|type=NE|edition=NE|sp=SP1";
    const wchar_t* const server = L"Os class=NT|version=NE|type=SRV|edition=NE|sp=NE";
    const wchar_t* const pro = L"Os class=NT|version=NE|type=NE|edition=PRO|sp=NE";
    const FilterRow rows[] = {
        {__LINE__, No, seven},
        {__LINE__, CannotTell, sp, L"os.version = WIN7"},
        {__LINE__, No, sp}, // whatever the service pack is
        {__LINE__, Yes, sp, L"os.version = WIN7\nos.sp = SP1"},
        {__LINE__, No, sp, L"os.version = WIN7\nos.sp = SP2"},
        {__LINE__, Yes, server, L"os.type = SRV"},
        {__LINE__, No, server, L"os.type = WS"},
        {__LINE__, Yes, pro, L"os.edition = pro"},
        {__LINE__, No, pro, L"os.edition = HOME"},
        {__LINE__, CannotTell, L"Os class=NT|version=NEWEST|type=NE|edition=NE|sp=NE"},
        {__LINE__, CannotTell, L"Os class=9X|version=NE|type=NE|edition=NE|sp=NE"},
        {__LINE__, CannotTell, L"Os class=NT|version=NE|type=NE|edition=NE"},
        {__LINE__, CannotTell, seven, L"computer.name = OTHER"},
        {__LINE__, Yes, L"Language default=1|locale=1031|language=7|displayName=x"},
        {__LINE__, No, L"Language default=0|system=1|locale=1031|language=1031"},
        {__LINE__, Yes, L"Language native=1|locale=1031|language=7", L"language.native = 1031"},
        {__LINE__, CannotTell, L"Language default=1|system=1|locale=1031|language=7"},
        {__LINE__, No, L"Language default=1|system=1|locale=1036|language=12"},
        {__LINE__, CannotTell, L"Language locale=1031|language=7"},
        {__LINE__, CannotTell, L"Language default=1|locale=1031|language=9"},
    };
    ExpectAnswers(rows);

    FakeFacts machine;
    machine.release = kx::OsRelease{10, 1, false};
    ExpectAnswer(__LINE__, seven, L"", machine, No);
    machine.release = kx::OsRelease{6, 1, true};
    ExpectAnswer(__LINE__, seven, L"", machine, No);
    ExpectAnswer(__LINE__, L"Os class=NT|version=2K8R2|type=NE|edition=NE|sp=NE", L"", machine, Yes);
}

TEST(Filters, TheClockAndTheAddresses)
{
    const wchar_t* const saturday = L"time = 2026-10-31T08:30";
    const wchar_t* const mac = L"computer.mac = 00:1a:2b:3c:4d:5e";
    const FilterRow rows[] = {
        {__LINE__, Yes, L"Date period=WEEKLY|dow=Saturday", saturday},
        {__LINE__, No, L"Date period=WEEKLY|dow=SUN", saturday},
        {__LINE__, No, L"Date period=WEEKLY|dow=MONDAY", L"time = 2026-11-22T23:59:59"},
        {__LINE__, CannotTell, L"Date period=WEEKLY|dow=6", saturday},
        {__LINE__, Yes, L"Date period=MONTHLY|day=31", saturday},
        {__LINE__, No, L"Date period=MONTHLY|day=1", saturday},
        {__LINE__, CannotTell, L"Date period=MONTHLY|day=0", saturday},
        {__LINE__, Yes, L"Date period=YEARLY|day=29|month=2", L"time = 2028-02-29T12:00"},
        {__LINE__, No, L"Date period=YEARLY|day=31|month=10|year=2025", saturday},
        {__LINE__, Yes, L"Date period=YEARLY|day=1|month=1|year=2027", L"time = 2027-01-01T00:00"},
        {__LINE__, CannotTell, L"Date period=YEARLY|day=31", saturday},
        {__LINE__, CannotTell, L"Date period=DAILY", saturday},
        {__LINE__, CannotTell, L"Date period=MONTHLY|day=31"},
        {__LINE__, Yes, L"Time begin=08:30:00|end=08:30:00", saturday},
        {__LINE__, No, L"Time begin=08:30:01|end=23:59", saturday},
        {__LINE__, No, L"Time begin=00:00|end=08:29:59", saturday},
        {__LINE__, CannotTell, L"Time begin=22:00|end=06:00", saturday},
        {__LINE__, CannotTell, L"Time begin=8:30|end=09:00", saturday},
        {__LINE__, Yes, L"IpRange min=9.255.0.0|max=10.0.0.0",
         L"computer.ip = 192.168.7.1\ncomputer.ip = 10.0.0.0"},
        {__LINE__, No, L"IpRange min=10.0.0.2|max=10.0.0.9", L"computer.ip = 10.0.0.10"},
        {__LINE__, No, L"IpRange min=0.0.0.0|max=255.255.255.255", L"computer.ip ="},
        {__LINE__, CannotTell, L"IpRange min=10.0.0.2|max=10.0.0.1", L"computer.ip = 10.0.0.1"},
        {__LINE__, CannotTell, L"IpRange min=10.0.0|max=10.0.0.256", L"computer.ip = 10.0.0.1"},
        {__LINE__, CannotTell, L"IpRange min=fe80::|max=64|useIPv6=1", L"computer.ip = 10.0.0.1"},
        {__LINE__, Yes, L"MacRange min=00-1A-2B-3C-4D-5E|max=00-1A-FF-FF-FF-FF", mac},
        {__LINE__, No, L"MacRange min=00-1B-00-00-00-00|max=FF-FF-FF-FF-FF-FF", mac},
        {__LINE__, CannotTell, L"MacRange min=00-1B|max=FF-FF", L"computer.mac ="},
    };
    ExpectAnswers(rows);
}

TEST(Filters, TheComputerAndTheCall)
{
    const wchar_t* const rdp = L"Terminal type=TS|option=NE";
    const FilterRow rows[] = {
        {__LINE__, Yes, L"Ram totalMB=4096"},
        {__LINE__, No, L"Ram totalMB=4097"},
        {__LINE__, Yes, L"Ram totalMB=4097", L"computer.ramMB = 8192"},
        {__LINE__, CannotTell, L"Ram totalMB=4 GB"},
        {__LINE__, No, L"Cpu speedMHz=1000", L"computer.cpuMHz = 999"},
        {__LINE__, No, L"Disk drive=SystemDrive|freeSpace=80"},
        {__LINE__, Yes, L"Disk drive=c:\\|freeSpace=80", L"computer.freeGB.C = 80"},
        {__LINE__, CannotTell, L"Disk drive=D:|freeSpace=1", L"computer.freeGB.C = 80"},
        {__LINE__, CannotTell, L"Disk drive=C:\\Tools|freeSpace=1"},
        {__LINE__, Yes, L"Battery", L"computer.battery = yes"},
        {__LINE__, No, L"Battery", L"computer.battery = no"},
        {__LINE__, CannotTell, L"Battery", L"computer.pcCard = yes"},
        {__LINE__, Yes, L"Pcmcia", L"computer.pcCard = yes"},
        {__LINE__, Yes, L"Portable docked=1|undocked=0", L"computer.portable = docked"},
        {__LINE__, Yes, L"Portable undocked=1", L"computer.portable = undocked"},
        {__LINE__, No, L"Portable docked=0|undocked=1|unknown=1", L"computer.portable = docked"},
        {__LINE__, No, L"Portable docked=1|undocked=1|unknown=1", L"computer.portable = no"},
        {__LINE__, CannotTell, L"Portable docked=0", L"computer.portable = no"},
        {__LINE__, Yes, L"ProcMode syncFore=1|slowLink=1|backRefr=0"},
        {__LINE__, Yes, L"ProcMode rsopEnbl=1|slowLink=1"},
        {__LINE__, CannotTell, L"ProcMode rsopEnbl=1|syncFore=1"},
        {__LINE__, CannotTell, L"ProcMode slowLink=0"},
        {__LINE__, No, L"Terminal type=NE|option=NE"},
        {__LINE__, Yes, L"Terminal type=NE|option=NE|min=0.0.0.0|max=0.0.0.0", L"session = other"},
        {__LINE__, No, rdp, L"session = other"},
        {__LINE__, Yes, rdp, L"session = rdp"},
        {__LINE__, CannotTell, L"Terminal type=TS|option=CLIENT|value=x", L"session = rdp"},
        {__LINE__, CannotTell, rdp, L"user.name = F\\other"},
    };
    ExpectAnswers(rows);
    for (const auto& [word, mode] : kx::kProcessingModes)
        for (const auto& [other, otherMode] : kx::kProcessingModes)
            ExpectAnswer(__LINE__, L"ProcMode " + wstring(word) + L"=1", L"processing = " + wstring(other),
                         FakeFacts(), mode == otherMode ? Yes : No);
}

TEST(Filters, TheRegistryIsComparedByType)
{
    using Type = kx::RegistryType;
    const auto value = [](Type type, const wchar_t* text, std::vector<std::uint8_t> bytes) {
        return kx::RegistryFact{kx::RegistryFact::State::Value, type, text, std::move(bytes)};
    };
    FakeFacts machine;
    machine.registry = {{L"Text", value(Type::Text, L"Dairy 2", {})},
                        {L"Version", value(Type::ExpandText, L"2.5.0.0", {})},
                        {L"Number", value(Type::Dword, L"", {0x1D, 0x04, 0x06, 0})},
                        {L"Long", value(Type::Qword, L"", {1, 0, 0, 0, 0, 0, 0, 0x80})},
                        {L"Bytes", value(Type::Binary, L"", {0xAB, 0x01})},
                        {L"List", value(Type::Other, L"", {})},
                        {L"Locked", {}}};

    const FilterRow rows[] = {
        {__LINE__, Yes, L"type=KEYEXISTS"},
        {__LINE__, Yes, L"type=VALUEEXISTS|valueName=List"},
        {__LINE__, No, L"type=VALUEEXISTS|valueName=None"},
        {__LINE__, CannotTell, L"type=VALUEEXISTS|valueName=Locked"},
        {__LINE__, CannotTell, L"type=GETVALUE|valueName=Text"},
        {__LINE__, Yes, L"valueName=Text|subtype=EQUALS|valueType=REG_SZ|valueData=Dairy 2"},
        {__LINE__, No, L"valueName=Text|subtype=EQUALS|valueType=REG_SZ|valueData=Dairy"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=EQUALS|valueType=REG_SZ|valueData=dairy 2"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=EQUALS|valueType=REG_DWORD|valueData=00000001"},
        {__LINE__, CannotTell, L"valueName=List|subtype=EQUALS|valueType=REG_MULTI_SZ|valueData=x"},
        {__LINE__, No, L"valueName=None|subtype=EQUALS|valueType=REG_SZ|valueData=x"},
        {__LINE__, Yes, L"valueName=Number|subtype=EQUALS|valueType=REG_DWORD|valueData=0006041d"},
        {__LINE__, No, L"valueName=Number|subtype=EQUALS|valueType=REG_DWORD|valueData=1D040600"},
        {__LINE__, CannotTell, L"valueName=Number|subtype=EQUALS|valueType=REG_DWORD|valueData=394269"},
        {__LINE__, Yes, L"valueName=Long|subtype=EQUALS|valueType=REG_QWORD|valueData=8000000000000001"},
        {__LINE__, Yes, L"valueName=Bytes|subtype=EQUALS|valueType=REG_BINARY|valueData=ab01"},
        {__LINE__, Yes, L"valueName=Text|subtype=SUBSTRING|valueData=air"},
        {__LINE__, No, L"valueName=Text|subtype=SUBSTRING|valueData=fair"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=SUBSTRING|valueData=AIR"},
        {__LINE__, CannotTell, L"valueName=Number|subtype=SUBSTRING|valueData=1"},
        {__LINE__, Yes, L"valueName=Version|subtype=VERSION|min=2.5.0.0|max=3.0.0.0|gte=1|lte=0"},
        {__LINE__, No, L"valueName=Version|subtype=VERSION|min=2.5.0.0|max=3.0.0.0|gte=0|lte=0"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=VERSION|min=0.0.0.0|max=3.0.0.0|gte=1|lte=1"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=LIKE|valueData=x"},
    };

    for (const FilterRow& row : rows) {
        const wstring type = wstring_view(row.filter).starts_with(L"type=") ? L"" : L"type=MATCHVALUE|";
        ExpectAnswer(row.line,
                     L"Registry hive=HKEY_LOCAL_MACHINE|key=Software\\Fernhill|" + type + row.filter, L"",
                     machine, row.expected);
    }
    ExpectAnswer(__LINE__, L"Registry hive=HKEY_USERS|key=None|type=KEYEXISTS", L"", machine, No);
    ExpectAnswer(__LINE__, L"Registry hive=HKEY_CLASSES_ROOT|key=None|type=KEYEXISTS", L"", machine,
                 CannotTell);
}

TEST(Filters, WithoutFactsThereIsNoAnswer)
{
    const wchar_t* const version =
        L"File type=VERSION|path=C:\\Tools\\a.exe|min=0.0.0.0|max=9.0.0.0|gte=1|lte=1";
    FakeFacts machine;
    machine.userName = machine.userSid = std::nullopt;
    machine.version.state = kx::FileVersionFact::State::CannotTell;
    for (const wchar_t* const filter : {L"User name=*\\*", L"User sid=S-1-5-18", version})
        ExpectAnswer(__LINE__, filter, L"", machine, CannotTell);
    machine.version.state = kx::FileVersionFact::State::None;
    ExpectAnswer(__LINE__, version, L"", machine, No);
}

} // namespace
