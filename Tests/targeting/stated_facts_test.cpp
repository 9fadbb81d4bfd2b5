// Filters over a facts file and a machine: what each answers, whom it believes, and what a file may hold.

#include "Tests/targeting/ask_filter.h"

#include <gtest/gtest.h>

namespace {

using std::wstring;
using std::wstring_view;

struct Row {
    int line;
    Answer expected;
    const wchar_t* filter;
    const wchar_t* stated = L"";
};

void Expect(std::span<const Row> rows, const FakeFacts& machine = FakeFacts())
{
    for (const Row& row : rows) {
        EXPECT_EQ(kx::ParseFacts(row.stated).problem, L"") << "line " << row.line;
        EXPECT_EQ(Ask(row.filter, row.stated, machine), row.expected) << "line " << row.line;
    }
}

TEST(StatedFacts, GroupsAreComparedAsTheyAreTold)
{
    const wchar_t* const byName = L"FilterGroup name=FERNHILL\\Hall 2|userContext=1";
    const wchar_t* const bySid = L"FilterGroup sid=S-1-5-32-544|userContext=1";
    const Row rows[] = {
        {__LINE__, Yes, byName, L"user.group = Fernhill\\hall 2"},
        {__LINE__, Yes, byName, L"user.group = S-1-5-32-544\nuser.group = FERNHILL\\Hall 2"},
        {__LINE__, No, byName, L"user.group = FERNHILL\\Hall 1"},
        {__LINE__, No, byName, L"user.group ="},
        {__LINE__, CannotTell, byName, L"user.group = S-1-5-32-544"},
        {__LINE__, CannotTell, bySid, L"user.group = FERNHILL\\Hall 2"},
        {__LINE__, Yes, bySid, L"user.group = S-1-5-32-544"},
        {__LINE__, Yes, L"FilterGroup name=a\\b|sid=S-1-5-9|userContext=0", L"computer.group = A\\B"},
        {__LINE__, No, byName, L"computer.group = FERNHILL\\Hall 2"}, // the machine's user is another matter
        {__LINE__, Yes, L"FilterGroup sid=S-1-5-32-545|userContext=1|primaryGroup=0|localGroup=0"},
        {__LINE__, CannotTell, L"FilterGroup sid=S-1-5-32-545|userContext=0"},
        {__LINE__, CannotTell, L"FilterGroup sid=S-1-5-32-545|userContext=1|localGroup=1"},
        {__LINE__, CannotTell, L"FilterGroup sid=S-1-5-32-545"},
        {__LINE__, CannotTell, L"FilterGroup userContext=1"},
        {__LINE__, Yes, L"FilterGroup name=F\\Staff|userContext=1|primaryGroup=1",
         L"user.group = F\\Other\nuser.primaryGroup = F\\Staff"},
        {__LINE__, No, L"FilterGroup name=F\\Other|userContext=1|primaryGroup=1",
         L"user.group = F\\Other\nuser.primaryGroup = F\\Staff"},
    };
    Expect(rows);
}

TEST(StatedFacts, TheDirectoryIsWhatTheFileSays)
{
    const wchar_t* const below = L"FilterOrgUnit name=OU=Dairy,DC=fernhill|userContext=0|directMember=0";
    const wchar_t* const direct = L"FilterOrgUnit name=OU=Dairy,DC=fernhill|userContext=0|directMember=1";
    const Row rows[] = {
        {__LINE__, Yes, below, L"computer.ou = ou=Hall 2, ou=dairy,dc=Fernhill"},
        {__LINE__, No, direct, L"computer.ou = OU=Hall 2,OU=Dairy,DC=fernhill"},
        {__LINE__, Yes, direct, L"computer.ou = OU=Dairy , DC=fernhill"},
        {__LINE__, No, below, L"computer.ou = OU=Big\\,OU=Dairy,DC=fernhill"},
        {__LINE__, No, below, L"computer.ou = DC=fernhill"},
        {__LINE__, CannotTell, below, L"user.ou = OU=Dairy,DC=fernhill"},
        {__LINE__, CannotTell, L"FilterOrgUnit name=Dairy|userContext=0", L"computer.ou = DC=fernhill"},
        {__LINE__, Yes, L"FilterSite name=north", L"computer.site = North"},
        {__LINE__, No, L"FilterSite name=south", L"computer.site = North"},
        {__LINE__, CannotTell, L"FilterSite name=n*", L"computer.site = North"},
        {__LINE__, CannotTell, L"FilterSite name=north"},
        {__LINE__, Yes, L"FilterDomain name=fernhill|userContext=1", L"user.name = Fernhill\\Bert"},
        {__LINE__, No, L"FilterDomain name=BRACKEN|userContext=1", L"user.name = FERNHILL\\Bert"},
        {__LINE__, CannotTell, L"FilterDomain name=fernhill.example|userContext=1"},
        {__LINE__, Yes, L"FilterDomain name=fernhill.example|userContext=0",
         L"computer.domain = FERNHILL\ncomputer.domain = fernhill.example"},
        {__LINE__, No, L"FilterDomain name=fernhill.example|userContext=0", L"computer.domain ="},
        {__LINE__, Yes, L"FilterLdap searchFilter=(cn=100%a%)|attribute=x", L"ldap.yes = (cn=100%a%)"},
        {__LINE__, No, L"FilterLdap searchFilter=(cn=b)", L"ldap.no = (cn=b)\nldap.yes = (cn=c)"},
        {__LINE__, CannotTell, L"FilterLdap searchFilter=(cn=b)", L"wmi.yes = (cn=b)"},
        {__LINE__, CannotTell, L"FilterWmi query=select 1", L"wmi.no = select 1\nwmi.yes = select 1"},
        {__LINE__, Yes, L"FilterWmi query=select 1|nameSpace=root", L"wmi.yes = SELECT 1"},
        {__LINE__, CannotTell, L"FilterWmi query=select 1|variableName=x", L"wmi.yes = select 1"},
        {__LINE__, No, L"FilterRunOnce id={A}", L"ranOnce = {a}"},
        {__LINE__, Yes, L"FilterRunOnce id={B}", L"ranOnce = {a}"},
        {__LINE__, CannotTell, L"FilterRunOnce id={B}"},
    };
    Expect(rows);
}

TEST(StatedFacts, TheSystemIsNamedOrTold)
{
    const wchar_t* const seven = L"FilterOs class=NT|version=WIN7|type=NE|edition=NE|sp=NE";
    const wchar_t* const sp = L"FilterOs class=NT|version=WIN7|type=NE|edition=NE|sp=SP1";
    const Row rows[] = {
        {__LINE__, No, seven},
        {__LINE__, Yes, seven, L"os.version = win7"},
        {__LINE__, CannotTell, sp, L"os.version = WIN7"},
        {__LINE__, No, sp}, // whatever the service pack is
        {__LINE__, Yes, sp, L"os.version = WIN7\nos.sp = SP1"},
        {__LINE__, CannotTell, L"FilterOs class=NT|version=NEWEST|type=NE|edition=NE|sp=NE"},
        {__LINE__, CannotTell, L"FilterOs class=9X|version=NE|type=NE|edition=NE|sp=NE"},
        {__LINE__, CannotTell, L"FilterOs class=NT|version=NE|type=NE|edition=NE"},
        {__LINE__, CannotTell, seven, L"computer.name = OTHER"},
        {__LINE__, CannotTell, L"FilterOs class=NT|version=NE|type=SRV|edition=NE|sp=NE"},
        {__LINE__, Yes, L"FilterLanguage default=1|locale=1031|language=7|displayName=x"},
        {__LINE__, No, L"FilterLanguage default=0|system=1|locale=1031|language=1031"},
        {__LINE__, Yes, L"FilterLanguage native=1|locale=1031|language=7", L"language.native = 1031"},
        {__LINE__, CannotTell, L"FilterLanguage default=1|system=1|locale=1031|language=7"},
        {__LINE__, No, L"FilterLanguage default=1|system=1|locale=1036|language=12"},
        {__LINE__, CannotTell, L"FilterLanguage locale=1031|language=7"},
        {__LINE__, CannotTell, L"FilterLanguage default=1|locale=1031|language=9"},
        {__LINE__, CannotTell, L"FilterLanguage default=1|locale=7|language=7"},
    };
    Expect(rows);

    FakeFacts server;
    server.release = kx::OsRelease{10, 1, false};
    EXPECT_EQ(Ask(seven, L"", server), No);
    server.release = kx::OsRelease{6, 1, true};
    EXPECT_EQ(Ask(seven, L"", server), No);
    EXPECT_EQ(Ask(L"FilterOs class=NT|version=2K8R2|type=NE|edition=NE|sp=NE", L"", server), Yes);
}

TEST(StatedFacts, TheClockAndTheAddresses)
{
    const wchar_t* const saturday = L"time = 2026-10-31T08:30";
    const Row rows[] = {
        {__LINE__, Yes, L"FilterDate period=WEEKLY|dow=Saturday", saturday},
        {__LINE__, No, L"FilterDate period=WEEKLY|dow=SUN", saturday},
        {__LINE__, CannotTell, L"FilterDate period=WEEKLY|dow=6", saturday},
        {__LINE__, Yes, L"FilterDate period=MONTHLY|day=31", saturday},
        {__LINE__, No, L"FilterDate period=MONTHLY|day=1", saturday},
        {__LINE__, CannotTell, L"FilterDate period=MONTHLY|day=0", saturday},
        {__LINE__, Yes, L"FilterDate period=YEARLY|day=31|month=10", saturday},
        {__LINE__, No, L"FilterDate period=YEARLY|day=31|month=10|year=2025", saturday},
        {__LINE__, CannotTell, L"FilterDate period=YEARLY|day=31", saturday},
        {__LINE__, CannotTell, L"FilterDate period=DAILY", saturday},
        {__LINE__, CannotTell, L"FilterDate period=MONTHLY|day=31"},
        {__LINE__, Yes, L"FilterTime begin=08:30:00|end=08:30:00", saturday},
        {__LINE__, No, L"FilterTime begin=08:30:01|end=23:59", saturday},
        {__LINE__, No, L"FilterTime begin=00:00|end=08:29:59", saturday},
        {__LINE__, CannotTell, L"FilterTime begin=22:00|end=06:00", saturday},
        {__LINE__, CannotTell, L"FilterTime begin=8:30|end=09:00", saturday},
        {__LINE__, CannotTell, L"FilterTime begin=08:00|end=09:00"},
        {__LINE__, Yes, L"FilterIpRange min=10.0.0.0|max=10.1.0.1|useIPv6=0", L"computer.ip = 10.1.0.1"},
        {__LINE__, Yes, L"FilterIpRange min=9.255.0.0|max=10.0.0.0",
         L"computer.ip = 192.168.7.1\ncomputer.ip = 10.0.0.0"},
        {__LINE__, No, L"FilterIpRange min=10.0.0.2|max=10.0.0.9", L"computer.ip = 10.0.0.10"},
        {__LINE__, No, L"FilterIpRange min=0.0.0.0|max=255.255.255.255", L"computer.ip ="},
        {__LINE__, CannotTell, L"FilterIpRange min=10.0.0.2|max=10.0.0.1", L"computer.ip = 10.0.0.1"},
        {__LINE__, CannotTell, L"FilterIpRange min=10.0.0|max=10.0.0.256", L"computer.ip = 10.0.0.1"},
        {__LINE__, CannotTell, L"FilterIpRange min=fe80::|max=64|useIPv6=1", L"computer.ip = 10.0.0.1"},
        {__LINE__, Yes, L"FilterMacRange min=00-1A-2B-3C-4D-5E|max=00-1A-FF-FF-FF-FF",
         L"computer.mac = 00:1a:2b:3c:4d:5e"},
        {__LINE__, No, L"FilterMacRange min=00-1B-00-00-00-00|max=FF-FF-FF-FF-FF-FF",
         L"computer.mac = 00:1a:2b:3c:4d:5e"},
        {__LINE__, CannotTell, L"FilterMacRange min=00-1B|max=FF-FF", L"computer.mac ="},
    };
    Expect(rows);
}

TEST(StatedFacts, TheComputerAndTheCall)
{
    const Row rows[] = {
        {__LINE__, Yes, L"FilterRam totalMB=4096"},
        {__LINE__, No, L"FilterRam totalMB=4097"},
        {__LINE__, Yes, L"FilterRam totalMB=4097", L"computer.ramMB = 8192"},
        {__LINE__, CannotTell, L"FilterRam totalMB=4 GB"},
        {__LINE__, CannotTell, L"FilterRam totalMB=64", L"computer.dns = other.example"},
        {__LINE__, No, L"FilterCpu speedMHz=1000", L"computer.cpuMHz = 999"},
        {__LINE__, Yes, L"FilterCpu speedMHz=1000", L"computer.cpuMHz = 1000"},
        {__LINE__, Yes, L"FilterDisk drive=%SystemDrive%|freeSpace=79"},
        {__LINE__, No, L"FilterDisk drive=SystemDrive|freeSpace=80"},
        {__LINE__, Yes, L"FilterDisk drive=c:\\|freeSpace=80", L"computer.freeGB.C = 80"},
        {__LINE__, CannotTell, L"FilterDisk drive=D:|freeSpace=1", L"computer.freeGB.C = 80"},
        {__LINE__, CannotTell, L"FilterDisk drive=C:\\Tools|freeSpace=1"},
        {__LINE__, CannotTell, L"FilterDisk drive=%NONE%|freeSpace=1"},
        {__LINE__, Yes, L"FilterBattery", L"computer.battery = yes"},
        {__LINE__, No, L"FilterPcmcia", L"computer.pcCard = no"},
        {__LINE__, CannotTell, L"FilterBattery", L"computer.pcCard = yes"},
        {__LINE__, Yes, L"FilterPortable docked=1|undocked=0", L"computer.portable = docked"},
        {__LINE__, No, L"FilterPortable docked=0|undocked=1|unknown=1", L"computer.portable = docked"},
        {__LINE__, No, L"FilterPortable docked=1|undocked=1|unknown=1", L"computer.portable = no"},
        {__LINE__, CannotTell, L"FilterPortable docked=0", L"computer.portable = no"},
        {__LINE__, CannotTell, L"FilterPortable docked=1"},
        {__LINE__, Yes, L"FilterProcMode syncFore=1|slowLink=1|backRefr=0"},
        {__LINE__, No, L"FilterProcMode syncFore=1|safeBoot=1"},
        {__LINE__, Yes, L"FilterProcMode rsopEnbl=1|slowLink=1"},
        {__LINE__, CannotTell, L"FilterProcMode rsopEnbl=1|syncFore=1"},
        {__LINE__, No, L"FilterProcMode rsopEnbl=1|slowLink=1", L"processing = noChg"},
        {__LINE__, Yes, L"FilterProcMode rsopEnbl=1", L"processing = noChg\nprocessing = rsopEnbl"},
        {__LINE__, CannotTell, L"FilterProcMode slowLink=0"},
        {__LINE__, No, L"FilterTerminal type=NE|option=NE"},
        {__LINE__, Yes, L"FilterTerminal type=NE|option=NE|min=0.0.0.0|max=0.0.0.0", L"session = other"},
        {__LINE__, No, L"FilterTerminal type=TS|option=NE", L"session = other"},
        {__LINE__, Yes, L"FilterTerminal type=TS|option=NE", L"session = rdp"},
        {__LINE__, CannotTell, L"FilterTerminal type=TS|option=CLIENT|value=x", L"session = rdp"},
        {__LINE__, CannotTell, L"FilterTerminal type=TS|option=NE", L"user.name = F\\other"},
    };
    Expect(rows);
}

TEST(StatedFacts, TheRegistryIsComparedByType)
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

    const struct {
        int line;
        Answer expected;
        const wchar_t* rest;
    } rows[] = {
        {__LINE__, Yes, L"type=KEYEXISTS"},
        {__LINE__, Yes, L"type=KEYEXISTS|valueName=None"},
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
        {__LINE__, No, L"valueName=Bytes|subtype=EQUALS|valueType=REG_BINARY|valueData=AB0100"},
        {__LINE__, Yes, L"valueName=Text|subtype=SUBSTRING|valueData=air"},
        {__LINE__, No, L"valueName=Text|subtype=SUBSTRING|valueData=fair"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=SUBSTRING|valueData=AIR"},
        {__LINE__, CannotTell, L"valueName=Number|subtype=SUBSTRING|valueData=1"},
        {__LINE__, Yes, L"valueName=Version|subtype=VERSION|min=2.5.0.0|max=3.0.0.0|gte=1|lte=0"},
        {__LINE__, No, L"valueName=Version|subtype=VERSION|min=2.5.0.0|max=3.0.0.0|gte=0|lte=0"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=VERSION|min=0.0.0.0|max=3.0.0.0|gte=1|lte=1"},
        {__LINE__, CannotTell, L"valueName=Text|subtype=LIKE|valueData=x"},
    };

    for (const auto& row : rows) {
        wstring filter = L"FilterRegistry hive=HKEY_LOCAL_MACHINE|key=Software\\Fernhill|";
        filter +=
            wstring_view(row.rest).starts_with(L"type=") ? row.rest : L"type=MATCHVALUE|" + wstring(row.rest);
        EXPECT_EQ(Ask(filter, L"", machine), row.expected) << "line " << row.line;
    }
    EXPECT_EQ(Ask(L"FilterRegistry hive=HKEY_USERS|key=None|type=KEYEXISTS", L"", machine), No);
    EXPECT_EQ(Ask(L"FilterRegistry hive=HKEY_CLASSES_ROOT|key=None|type=KEYEXISTS", L"", machine),
              CannotTell);
}

// Of another user or computer this machine knows nothing, and does not answer in its place.
TEST(StatedFacts, WhoIsNamedDecidesWhomToAsk)
{
    const wchar_t* const variable = L"FilterVariable variableName=site|value=north";
    const wchar_t* const file = L"FilterFile type=EXISTS|path=C:\\Tools\\a.exe";
    const wchar_t* const key = L"FilterRegistry type=KEYEXISTS|hive=HKEY_CURRENT_USER|key=Software\\Fernhill";
    const wchar_t* const group = L"FilterGroup sid=S-1-5-32-545|userContext=1";
    const wchar_t* const otherUser = L"user.name = FERNHILL\\Bert";
    const wchar_t* const otherPc = L"computer.name = PC-8";
    const Row rows[] = {
        {__LINE__, Yes, L"FilterUser name=*\\bert", otherUser},
        {__LINE__, Yes, L"FilterUser name=FERNHILL\\Bert|sid=S-1-5-21-1-2-3-1001", otherUser},
        {__LINE__, No, L"FilterUser name=FERNHILL\\Anna|sid=S-1-5-21-1-2-3-1001", otherUser},
        {__LINE__, No, L"FilterUser sid=S-1-5-21-1-2-3-1001", L"user.sid = S-1-5-21-1-2-3-9"},
        {__LINE__, CannotTell, L"FilterUser name=*\\*", L"user.sid = S-1-5-21-1-2-3-9"},
        {__LINE__, Yes, L"FilterComputer type=NETBIOS|name=pc-8", otherPc},
        {__LINE__, CannotTell, L"FilterComputer type=DNS|name=pc-7.example.net", otherPc},
        {__LINE__, Yes, L"FilterComputer type=DNS|name=pc-7.example.net", L"computer.name = pc-7"},
        {__LINE__, Yes, group, L"user.name = fernhill\\anna\ncomputer.name = PC-8"},
        {__LINE__, CannotTell, group, otherUser},
        {__LINE__, Yes, variable, L"user.name = FERNHILL\\ANNA"},
        {__LINE__, CannotTell, variable, otherUser},
        {__LINE__, CannotTell, variable, otherPc},
        {__LINE__, Yes, variable, L"computer.name = PC-8\nvariable.Site = NORTH"},
        {__LINE__, No, variable, L"variable.SITE ="},
        {__LINE__, Yes, file, otherUser},
        {__LINE__, CannotTell, file, otherPc},
        {__LINE__, No, file, L"computer.name = PC-8\nabsent = c:\\tools\\A.EXE"},
        {__LINE__, Yes, L"FilterFile type=EXISTS|folder=1|path=D:\\x", L"folder = D:\\x"},
        {__LINE__, CannotTell, L"FilterFile type=VERSION|path=D:\\x|min=0.0.0.0|max=9.0.0.0|gte=1|lte=1",
         L"file = D:\\x"},
        {__LINE__, Yes, key},
        {__LINE__, CannotTell, key, otherUser},
        {__LINE__, CannotTell, key, otherPc},
    };
    Expect(rows);
}

TEST(FactsFile, IsLinesOfKeysAndValues)
{
    const kx::FactsFile file =
        kx::ParseFacts(L"\xFEFF# who\r\n\r\n  user.name\t=  F\\a = b \r\nuser.group=\nuser.group = x");
    EXPECT_EQ(file.problem, L"");
    EXPECT_EQ(file.values.size(), 2U);
    EXPECT_EQ(file.Find(L"user.name")->front(), L"F\\a = b");
    EXPECT_EQ(*file.Find(L"user.group"), std::vector<wstring>{L"x"});
}

TEST(FactsFile, OneFaultMakesEverythingUnknown)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"user.name", L"line 1: there is no = in it"},
        {L"# x\nuser.colour = red", L"line 2: [user.colour] is no fact that is known"},
        {L"User.name = F\\a", L"line 1: [User.name] is no fact that is known"},
        {L"variable. = x", L"line 1: [variable.] is no fact that is known"},
        {L"computer.freeGB.c = 1", L"line 1: [computer.freeGB.c] is no fact that is known"},
        {L"user.name = F\\a\n\nuser.name = F\\a", L"line 3: [user.name] is stated twice"},
        {L"user.name = Anna", L"line 1: [user.name] cannot be [Anna]"},
        {L"user.sid =", L"line 1: [user.sid] cannot be []"},
        {L"user.ou = Hall 2", L"line 1: [user.ou] cannot be [Hall 2]"},
        {L"computer.ip = 10.0.0.256", L"line 1: [computer.ip] cannot be [10.0.0.256]"},
        {L"computer.ip = 10.0.0.1.2", L"line 1: [computer.ip] cannot be [10.0.0.1.2]"},
        {L"computer.mac = 00-1-2-3-4-5", L"line 1: [computer.mac] cannot be [00-1-2-3-4-5]"},
        {L"computer.ramMB = 4294967296", L"line 1: [computer.ramMB] cannot be [4294967296]"},
        {L"computer.battery = 1", L"line 1: [computer.battery] cannot be [1]"},
        {L"processing = fast", L"line 1: [processing] cannot be [fast]"},
        {L"time = 2026-02-29T08:00", L"line 1: [time] cannot be [2026-02-29T08:00]"},
        {L"time = 2026-02-28T24:00", L"line 1: [time] cannot be [2026-02-28T24:00]"},
    };
    const wchar_t* const filters[] = {L"FilterUser name=*\\*",
                                      L"FilterComputer type=NETBIOS|name=*",
                                      L"FilterVariable variableName=a",
                                      L"FilterFile type=EXISTS|path=C:\\x",
                                      L"FilterRam totalMB=1",
                                      L"FilterProcMode slowLink=1",
                                      L"FilterTerminal type=NE|option=NE"};
    for (const auto& [text, problem] : rows) {
        const kx::FactsFile file = kx::ParseFacts(text);
        EXPECT_EQ(file.problem, problem);
        EXPECT_TRUE(file.values.empty());
    }
    for (const wchar_t* const filter : filters)
        EXPECT_EQ(Ask(filter, L"user.name = F\\a\nuser.nam = F\\b", FakeFacts()), CannotTell) << filter;
}

} // namespace
