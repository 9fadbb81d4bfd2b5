#include "Tools/kx_gpsim/mask_run.h"

#include "Tools/kx_gpsim/secret_paths.h"
#include "Tools/kx_gpsim/secrets.h"

#include <algorithm>

namespace kx {

namespace {

void MaskInstance(const SecretPaths& secrets, RecordedInstance& instance)
{
    const auto id = std::find_if(instance.properties.begin(), instance.properties.end(),
                                 [](const RecordedProperty& property) { return property.name == "id"; });
    const std::string path = id == instance.properties.end() ? std::string() : id->value;
    for (RecordedProperty& property : instance.properties) {
        if (property.name == "Value")
            property.value = secrets.MaskValue(path, property.value);
        else if (property.name == "policyXml")
            property.value = MaskXml(property.value);
    }
}

void MaskComplaints(const SecretPaths& secrets, std::vector<Complaint>& complaints)
{
    for (Complaint& complaint : complaints)
        complaint.reason = secrets.MaskLine(complaint.reason);
}

void MaskPass(const SecretPaths& secrets, PassResult& pass)
{
    pass.document = MaskXml(pass.document);
    for (SentPolicy& policy : pass.policies) {
        policy.xml = MaskXml(policy.xml);
        for (auto& [path, value] : policy.configuration)
            value = secrets.MaskValue(path, value);
    }
    for (RecordedInstance& instance : pass.recorded)
        MaskInstance(secrets, instance);
    for (GpoOutcome& outcome : pass.gpos)
        MaskComplaints(secrets, outcome.complaints);
    MaskComplaints(secrets, pass.complaints);
    for (std::string& line : pass.trace)
        line = secrets.MaskLine(line);
}

} // namespace

void MaskSecrets(RunResult& run)
{
    const SecretPaths secrets(run);
    for (PassResult& pass : run.passes)
        MaskPass(secrets, pass);
}

} // namespace kx
