#include "Tools/kx_gpsim/secret_paths.h"

#include "Tools/kx_gpsim/recorded_values.h"
#include "Tools/kx_gpsim/secrets.h"

namespace kx {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

// Where the value stands in a line, and whose it is.
struct QuotedValue {
    std::size_t begin = kNowhere;
    std::size_t end = kNowhere;
    std::string_view path;
};

// "... Path=[/a/b], Value=[text]", at the end of the line.
QuotedValue CreatedValue(std::string_view line)
{
    constexpr std::string_view path = "Path=[";
    constexpr std::string_view value = "], Value=[";
    const std::size_t pathAt = line.find(path);
    const std::size_t valueAt = pathAt == kNowhere ? kNowhere : line.find(value, pathAt);
    if (valueAt == kNowhere)
        return {};
    const std::size_t pathBegin = pathAt + path.size();
    const std::size_t last = line.rfind(']');
    const std::size_t begin = valueAt + value.size();
    return {begin, last < begin ? line.size() : last, line.substr(pathBegin, valueAt - pathBegin)};
}

// "... Put(Value, "text") failed. hr=... CfgPath=/a/b".
QuotedValue FailedValue(std::string_view line)
{
    constexpr std::string_view value = "Put(Value, \"";
    constexpr std::string_view afterValue = "\") failed";
    constexpr std::string_view path = "CfgPath=";
    const std::size_t valueAt = line.find(value);
    const std::size_t pathAt = line.rfind(path);
    const std::size_t end = line.rfind(afterValue);
    if (valueAt == kNowhere || pathAt == kNowhere || end == kNowhere || end < valueAt + value.size())
        return {};
    return {valueAt + value.size(), end, line.substr(pathAt + path.size())};
}

} // namespace

SecretPaths::SecretPaths(const RunResult& run)
{
    for (const PassResult& pass : run.passes) {
        for (const SentPolicy& policy : pass.policies)
            for (const auto& [path, value] : policy.configuration)
                _Add(path);
        for (const RecordedInstance& instance : pass.recorded)
            if (IsConfiguration(instance))
                _Add(TextOf(instance, "id"));
    }
}

void SecretPaths::_Add(std::string_view path)
{
    if (!IsSecretName(path))
        return;
    while (_m_paths.emplace(path).second) {
        const std::size_t slash = path.rfind('/');
        if (slash == kNowhere || slash == 0)
            return;
        path = path.substr(0, slash);
    }
}

bool SecretPaths::Cover(std::string_view path) const
{
    return IsSecretName(path) || _m_paths.contains(std::string(path));
}

std::string SecretPaths::MaskValue(std::string_view path, std::string_view value) const
{
    return std::string(!value.empty() && Cover(path) ? kSecretDots : value);
}

std::string SecretPaths::MaskLine(std::string_view line) const
{
    for (const QuotedValue& quoted : {CreatedValue(line), FailedValue(line)})
        if (quoted.begin != kNowhere && Cover(quoted.path))
            return std::string(line.substr(0, quoted.begin))
                .append(kSecretDots)
                .append(line.substr(quoted.end));
    return MaskXml(line);
}

} // namespace kx
