#include "Tests/hostile/hostile_case.h"

#include "Tests/hostile/byte_mutations.h"
#include "Tests/hostile/corpus.h"
#include "Tests/hostile/element_mutations.h"

namespace {

constexpr kx::PolicyFile kFiles[] = {kx::PolicyFile::Policies,  kx::PolicyFile::ApplicationGroups,
                                     kx::PolicyFile::Tokens,    kx::PolicyFile::Gui,
                                     kx::PolicyFile::Migration, kx::PolicyFile::RestrictionRules};

// The references out of the folder come last but for the encoding, so that a document type that is declared
// stays declared.
void Mutate(std::string& text, const OutsidePlaces& places, Random& random)
{
    for (std::size_t times = random.Below(4); times > 0; --times)
        MutateElements(text, random);
    if (random.OneIn(6))
        MutateBytes(text, random);
    if (random.OneIn(6))
        MutateOutside(text, places, random);
    if (random.OneIn(10))
        MutateEncoding(text, random);
}

HostileFile MakeFile(kx::PolicyFile file, const OutsidePlaces& places, Random& random)
{
    if (random.OneIn(200))
        return {HostileFile::Kind::Folder, ""};
    if (random.OneIn(100))
        return {HostileFile::Kind::Text, ""};
    const kx::PolicyFile source = random.OneIn(40) ? random.Pick(kFiles) : file;
    HostileFile made{HostileFile::Kind::Text, std::string(random.Pick(CorpusOf(source)))};
    if (!random.OneIn(3))
        Mutate(made.text, places, random);
    return made;
}

bool IsThere(kx::PolicyFile file, Random& random)
{
    switch (file) {
    case kx::PolicyFile::Policies:
        return !random.OneIn(10);
    case kx::PolicyFile::Migration: // ends the pass, and nothing else of it is sent
        return random.OneIn(12);
    default:
        return random.OneIn(2);
    }
}

HostileGpo MakeGpo(const OutsidePlaces& places, Random& random)
{
    HostileGpo gpo;
    for (const kx::PolicyFile file : kFiles)
        if (IsThere(file, random))
            gpo[static_cast<std::size_t>(file)] = MakeFile(file, places, random);
    return gpo;
}

} // namespace

HostileCase MakeHostileCase(std::uint64_t seed, std::uint64_t number, const OutsidePlaces& places)
{
    Random random = Random::Of(seed, number);
    HostileCase made;
    made.machine = random.OneIn(2);
    made.logs = random.OneIn(8);
    made.plans = random.OneIn(16);
    made.sentinelFirst = random.OneIn(2);
    for (std::size_t count = random.OneIn(4) ? 2 : 1; count > 0; --count)
        made.gpos.push_back(MakeGpo(places, random));
    return made;
}
