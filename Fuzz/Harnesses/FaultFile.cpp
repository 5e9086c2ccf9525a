#include "FuzzHost.h"

#include "HostModels/Files/JsonFile.h"
#include "ShowHost/FaultRules.h"

// The text of a file with fault rules.
void FuzzInput(std::string_view input)
{
    try {
        LoadFaults(FuzzHost::WriteFile(input));
        for (const auto& fault : CFaults::GetInstance().List()) {
            STrafficRecord request{STrafficRecord::Kind::Message, fault->channel, fault->peer};
            request.code = fault->code.value_or(1);
            CFaults::GetInstance().Match(request);
        }
    } catch (const CFileError&) {
    }
    CFaults::GetInstance().Clear();
}
