// Every kind of filter, in every form that it has: true by one fact, false by another, and the other way
// round when it is negated. A filter that always said the same would be seen here.

#include "Tests/targeting/ask_filter.h"
#include "Tools/targeting/filters.h"
#include "Tools/targeting/plain_values.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using std::wstring;

struct BothWays {
    int line;
    const wchar_t* filter;
    const wchar_t* yes;            ///< facts by which it is true
    const wchar_t* no;             ///< by which it is false
    const wchar_t* noFilter = L""; ///< asked in its place where it is false; "": the same
};

constexpr BothWays kRows[] = {
    {__LINE__, L"FilterUser name=FERNHILL\\a*", L"user.name = Fernhill\\Anna", L"user.name = FERNHILL\\Bert"},
    {__LINE__, L"FilterUser sid=S-1-5-21-7", L"user.sid = S-1-5-21-7", L"user.sid = S-1-5-21-70"},
    {__LINE__, L"FilterGroup name=F\\Hall|userContext=1", L"user.group = F\\Hall", L"user.group = F\\Halls"},
    {__LINE__, L"FilterGroup sid=S-1-5-9|userContext=0", L"computer.group = S-1-5-9", L"computer.group ="},
    {__LINE__, L"FilterGroup name=F\\Hall|userContext=0|primaryGroup=1", L"computer.primaryGroup = F\\Hall",
     L"computer.primaryGroup = F\\Lab"},
    {__LINE__, L"FilterComputer type=NETBIOS|name=FH-?", L"computer.name = fh-7", L"computer.name = FH-17"},
    {__LINE__, L"FilterComputer type=DNS|name=*.lab.example", L"computer.dns = a.lab.example",
     L"computer.dns = lab.example"},
    {__LINE__, L"FilterDomain name=BRACKEN|userContext=1", L"user.domain = bracken", L"user.domain = FERN"},
    {__LINE__, L"FilterDomain name=bracken.example|userContext=0", L"computer.domain = Bracken.example",
     L"computer.domain = fern.example"},
    {__LINE__, L"FilterOrgUnit name=OU=A,DC=d|userContext=1", L"user.ou = OU=B,OU=A,DC=d",
     L"user.ou = OU=A,OU=B,DC=d"},
    {__LINE__, L"FilterOrgUnit name=OU=A,DC=d|userContext=0|directMember=1", L"computer.ou = OU=A,DC=d",
     L"computer.ou = OU=B,OU=A,DC=d"},
    {__LINE__, L"FilterSite name=North", L"computer.site = north", L"computer.site = North 2"},
    {__LINE__, L"FilterOs class=NT|version=WIN7|type=NE|edition=NE|sp=NE", L"os.version = WIN7",
     L"os.version = VISTA"},
    {__LINE__, L"FilterOs class=NT|version=NE|type=SRV|edition=NE|sp=NE", L"os.type = SRV", L"os.type = WS"},
    {__LINE__, L"FilterOs class=NT|version=NE|type=NE|edition=PRO|sp=NE", L"os.edition = pro",
     L"os.edition = HOME"},
    {__LINE__, L"FilterOs class=NT|version=NE|type=NE|edition=NE|sp=SP1", L"os.sp = SP1", L"os.sp = SP2"},
    {__LINE__, L"FilterVariable variableName=SITE|value=north", L"variable.site = NORTH", L"variable.SITE ="},
    {__LINE__, L"FilterFile type=EXISTS|path=D:\\x|folder=0", L"file = d:\\X", L"folder = D:\\x"},
    {__LINE__, L"FilterFile type=EXISTS|path=D:\\x|folder=1", L"folder = D:\\x", L"absent = D:\\x"},
    {__LINE__, L"FilterFile type=VERSION|path=C:\\Tools\\a.exe|min=2.0.0.0|max=3.0.0.0|gte=1|lte=1", L"", L"",
     L"FilterFile type=VERSION|path=C:\\Tools\\a.exe|min=3.0.0.0|max=4.0.0.0|gte=1|lte=1"},
    {__LINE__, L"FilterRegistry type=KEYEXISTS|hive=HKEY_LOCAL_MACHINE|key=Software\\Fernhill", L"", L"",
     L"FilterRegistry type=KEYEXISTS|hive=HKEY_LOCAL_MACHINE|key=Software\\Bracken"},
    {__LINE__, L"FilterDate period=WEEKLY|dow=MONDAY", L"time = 2026-11-23T00:00",
     L"time = 2026-11-22T23:59:59"},
    {__LINE__, L"FilterDate period=MONTHLY|day=1", L"time = 2026-12-01T00:00", L"time = 2026-11-30T23:59"},
    {__LINE__, L"FilterDate period=YEARLY|day=29|month=2", L"time = 2028-02-29T12:00",
     L"time = 2028-03-29T12:00"},
    {__LINE__, L"FilterDate period=YEARLY|day=1|month=1|year=2027", L"time = 2027-01-01T00:00",
     L"time = 2028-01-01T00:00"},
    {__LINE__, L"FilterTime begin=06:00:00|end=13:59:59", L"time = 2026-11-21T13:59:59",
     L"time = 2026-11-21T14:00"},
    {__LINE__, L"FilterIpRange min=10.0.0.0|max=10.0.0.255", L"computer.ip = 10.0.0.255",
     L"computer.ip = 10.0.1.0"},
    {__LINE__, L"FilterMacRange min=00-1A-00-00-00-00|max=00-1A-FF-FF-FF-FF",
     L"computer.mac = 00-1a-00-00-00-00", L"computer.mac = 00-19-FF-FF-FF-FF"},
    {__LINE__, L"FilterLanguage default=1|locale=1031|language=7", L"language.user = 1031",
     L"language.user = 1033"},
    {__LINE__, L"FilterLanguage system=1|locale=1031|language=7", L"language.system = 1031",
     L"language.system = 2055"},
    {__LINE__, L"FilterLanguage native=1|locale=1031|language=7", L"language.native = 1031",
     L"language.native = 1033"},
    {__LINE__, L"FilterRam totalMB=4096", L"computer.ramMB = 4096", L"computer.ramMB = 4095"},
    {__LINE__, L"FilterCpu speedMHz=2000", L"computer.cpuMHz = 2000", L"computer.cpuMHz = 1999"},
    {__LINE__, L"FilterDisk drive=D:|freeSpace=80", L"computer.freeGB.D = 80", L"computer.freeGB.D = 79"},
    {__LINE__, L"FilterBattery", L"computer.battery = yes", L"computer.battery = no"},
    {__LINE__, L"FilterPcmcia", L"computer.pcCard = yes", L"computer.pcCard = no"},
    {__LINE__, L"FilterPortable docked=1", L"computer.portable = docked", L"computer.portable = undocked"},
    {__LINE__, L"FilterPortable undocked=1", L"computer.portable = undocked", L"computer.portable = unknown"},
    {__LINE__, L"FilterPortable unknown=1", L"computer.portable = unknown", L"computer.portable = no"},
    {__LINE__, L"FilterTerminal type=NE|option=NE", L"session = other", L"session = console"},
    {__LINE__, L"FilterTerminal type=TS|option=NE", L"session = rdp", L"session = console"},
    {__LINE__, L"FilterLdap searchFilter=(cn=a)", L"ldap.yes = (cn=a)", L"ldap.no = (cn=a)"},
    {__LINE__, L"FilterWmi query=select a", L"wmi.yes = select a", L"wmi.no = select a"},
    {__LINE__, L"FilterRunOnce id={A}", L"ranOnce =", L"ranOnce = {a}"},
};

void Expect(int line, const wstring& filter, const wstring& facts, Answer expected)
{
    EXPECT_EQ(kx::ParseFacts(facts).problem, L"") << "line " << line;
    EXPECT_EQ(Ask(filter, facts, FakeFacts()), expected) << "line " << line;
    const wstring negated = filter + (filter.find(L' ') == wstring::npos ? L" " : L"|") + L"not=1";
    EXPECT_EQ(Ask(negated, facts, FakeFacts()), expected == Yes ? No : Yes) << "negated, line " << line;
}

TEST(FiltersBothWays, EachFormIsTrueByOneFactAndFalseByAnother)
{
    for (const BothWays& row : kRows) {
        Expect(row.line, row.filter, row.yes, Yes);
        Expect(row.line, row.noFilter[0] == 0 ? row.filter : row.noFilter, row.no, No);
    }
}

TEST(FiltersBothWays, EachModeOfProcessing)
{
    for (const auto& [word, mode] : kx::kProcessingModes) {
        const wstring filter = L"FilterProcMode " + wstring(word) + L"=1";
        for (const auto& [other, otherMode] : kx::kProcessingModes)
            Expect(__LINE__, filter, L"processing = " + wstring(other), mode == otherMode ? Yes : No);
    }
}

TEST(FiltersBothWays, NoKindIsLeftOut)
{
    std::set<wstring> asked = {L"FilterProcMode"}; // above
    for (const BothWays& row : kRows)
        asked.insert(wstring(row.filter).substr(0, wstring(row.filter).find(L' ')));
    std::set<wstring> known;
    for (const kx::FilterKind* const kind : kx::FilterKinds())
        known.emplace(kind->element);
    EXPECT_EQ(asked, known);
}

} // namespace
