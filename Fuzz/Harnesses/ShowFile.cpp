#include "FuzzHost.h"

#include "ExternalController/Common/Command.h"
#include "HostModels/HostModels.h"
#include "HostModels/Pictures/Painting.h"
#include "HostModels/Show/ShowFile.h"

namespace {

constexpr qint64 kMaxStagePixels = qint64{3840} * 2160;

/// Requests all data of a show.
void AskForShow()
{
    for (const Command::Code code : {Command::ScreenList, Command::ProjectList, Command::PictureAdjustment,
                                     Command::MediaList, Command::SceneManagerData, Command::ResourceList})
        FuzzHost::SendEnvelope(FuzzHost::EChannel::AppControl, static_cast<std::uint32_t>(code), {});
}

/// Larger inputs or inputs with more media are slow and find no other errors.
bool IsQuick(const SShow& show, const SScene& scene)
{
    QRect stage(0, 0, 1920, 1080);
    for (const auto& screen : show.screens)
        stage |= screen->place;
    return scene.media.size() < 4 && qint64{stage.width()} * stage.height() <= kMaxStagePixels;
}

} // namespace

// The text of a show file.
void FuzzInput(std::string_view input)
{
    try {
        const SShow show = ReadShowFile(FuzzHost::WriteFile(input)).show;
        HostModels::Show().Load(show);
        AskForShow();
        if (const SScene* scene = show.CurrentScene(); scene && IsQuick(show, *scene))
            Painting::PaintStage(show, *scene);
        if (show.Project() && !show.Project()->resources.empty())
            Painting::PaintResource(*show.Project()->resources.front(), {320, 180});
    } catch (const CFileError&) {
    }
}
