#include "FuzzHost.h"

#include "HostModels/HostModels.h"

// The text of a settings file.
void FuzzInput(std::string_view input)
{
    try {
        const SSettings settings = ReadSettings(FuzzHost::WriteFile(input));
        HostModels::SoftwareSetting().Load(settings, {});
        HostModels::UserModel().Load(settings.users);
        FuzzHost::SendEnvelope(FuzzHost::EChannel::AppControl, 0x005, {});
    } catch (const CFileError&) {
    }
}
