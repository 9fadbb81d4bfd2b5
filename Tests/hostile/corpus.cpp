#include "Tests/hostile/corpus.h"

const std::vector<std::string_view>& CorpusOf(kx::PolicyFile file)
{
    static const std::vector<std::string_view> corpus[kx::kPolicyFileCount] = {
        {R"(<?xml version="1.0" encoding="utf-8"?>
<GpoPolicies version="5">
  <Policy name="Block unsigned installers" gpid="{A1000000-0000-4000-8000-000000000001}" order="10" action="2">
    <Targets>
      <ApplicationGroup id="{B2000000-0000-4000-8000-000000000001}"/>
      <ApplicationGroup id="{B2000000-0000-4000-8000-000000000002}"/>
    </Targets>
  </Policy>
  <Policy name="Elevate the support tool" gpid="{A1000000-0000-4000-8000-000000000010}" order="30" action="1">
    <ItemLevelTargeting answer="match">
      <Filters><FilterComputer bool="AND" not="0" type="NETBIOS" name="FH-OFFICE-*"/></Filters>
    </ItemLevelTargeting>
    <Targets><ApplicationGroup id="{B2000000-0000-4000-8000-000000000008}"/></Targets>
  </Policy>
  <Policy name="Agent settings" gpid="{A1000000-0000-4000-8000-000000000009}" order="90" action="10">
    <Configuration>
      <Common><DomainId>fernhill.example</DomainId><UpdateIntervalMinutes>60</UpdateIntervalMinutes></Common>
      <Proxy><Password>butter-churn</Password><Password/></Proxy>
    </Configuration>
    <Messages><Message id="BlockedText">Not allowed here. Call extension 4400.</Message></Messages>
  </Policy>
</GpoPolicies>
)",
         R"(<GpoPolicies version="5"><ItemLevelTargeting answer="match"/><Policy name="a" order="1"/>)"
         R"(<Policy name="b" order="2147483647"/><Policy name="c" order="-2147483648"/><Policy name="d"/>)"
         R"(<Policy name="e" order="3"><ItemLevelTargeting is="kept-out"/></Policy></GpoPolicies>)",
         R"(<GpoPolicies version="5"><!-- a remark --><Policy name="K&#228;se &amp; Brot &lt;1&gt;" order="7">)"
         R"(<![CDATA[ <raw> & ]]><?note for the console?><x:Any xmlns:x="urn:x" x:y="z">text</x:Any></Policy>)"
         R"(</GpoPolicies>)"},
        {R"(<?xml version="1.0" encoding="utf-8"?>
<ApplicationGroups version="5">
  <ApplicationGroup id="{B2000000-0000-4000-8000-000000000001}" name="Unsigned installers">
    <Application type="exe" path="%TEMP%\*.exe"/>
  </ApplicationGroup>
  <ApplicationGroup id="{B2000000-0000-4000-8000-000000000002}" name="Update service"/>
  <ApplicationGroup id="{B2000000-0000-4000-8000-000000000008}" name="Remote support"/>
</ApplicationGroups>
)",
         R"(<ApplicationGroups version="5"><ApplicationGroup id="1" name="&quot;quoted&quot; &apos;twice&apos;"/>)"
         R"(<ApplicationGroup id="it's &quot;both&quot;" name="]"/></ApplicationGroups>)"},
        {R"(<Tokens version="5"><Token id="{0B7A52C0-54E7-4C0C-9E0E-3B6E3E2C9D01}" name="Operator"/></Tokens>)"},
        {R"(<?xml version="1.0" encoding="utf-8"?>
<GUI version="5">
  <Text id="1" caption="Fernhill Dairy">Ask the helpdesk, extension 4400.</Text>
  <Text id="2" xml:space="preserve">  two
lines </Text>
</GUI>
)"},
        {R"(<AgentParameters version="5" setId="{7D2B9C40-35F1-4A68-8E0D-1B64F7A3C990}" )"
         R"(dispatcherUrl="https://dispatcher.fernhill.example/agents" )"
         R"(proxyUser="FERNHILL\svc-proxy" proxyPassword="butter-churn-1889"/>)"},
        {R"(<RestrictionRules version="5"><Rule id="{6B1C2E60-7C17-4F4E-9C0D-0F4B1F2A7701}" )"
         R"(name="No programs from removable drives" path="%REMOVABLE%\*"/></RestrictionRules>)"},
    };
    return corpus[static_cast<std::size_t>(file)];
}
