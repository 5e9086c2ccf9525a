#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/HostModels.h"
#include "Interfaces/GlobalModel.h"
#include "Interfaces/Hv.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ProgramScheduleModel.h"
#include "Interfaces/SceneMgrModel.h"
#include "Interfaces/ScreenModel.h"
#include "Senders/Case.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>

#include <benchmark/benchmark.h>

#include <memory>
#include <utility>

namespace {

constexpr double kAim = 1.15;
constexpr double kMemoryAim = 1.2;

/// Replaces the host's function: the time to paint a resource is not the module's.
const QPixmap& Thumbnail()
{
    static const QPixmap picture = QPixmap::fromImage(MakePicture({320, 180}));
    return picture;
}

SShow MakeShow(int count)
{
    SProject project;
    project.name = QStringLiteral("Gala");
    for (int i = 0; i < count; ++i) {
        SResourceProperties properties;
        properties.id = IdOf(1, i);
        properties.name = QStringLiteral("Clip %1").arg(i);
        properties.path = QStringLiteral("/srv/show/media/clip-%1.mp4").arg(i);
        properties.resolution = {1920, 1080};
        SResource resource;
        resource.base = CResourceBase(std::make_shared<const SResourceProperties>(properties));
        project.Add(std::move(resource));
    }
    SShow show = ShowOf(std::move(project));
    show.file = QStringLiteral("/srv/show/Gala.zxc");
    return show;
}

QByteArray PictureByHand()
{
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    Thumbnail().save(&buffer, "jpg");
    // The encoder may append a null character.
    QByteArray text((jpeg.size() + 2) / 3 * 4 + 1, Qt::Uninitialized);
    text.resize(hv_base64_encode(reinterpret_cast<const unsigned char*>(jpeg.constData()),
                                 static_cast<unsigned int>(jpeg.size()), text.data()));
    return text;
}

QByteArray DocumentByHand()
{
    CGlobalModel& global = *CGlobalModel::GetInstance();
    QJsonObject app;
    app.insert(QLatin1String("App Name"), QLatin1String("Zentravox XA Basic"));
    app.insert(QLatin1String("App Version"), QCoreApplication::applicationVersion());
    QJsonObject content;
    content.insert(QLatin1String("Project_Data"), app);
    content.insert(QLatin1String("ScreenData"), CScreenModel::GetInstance()->SaveData());
    content.insert(QLatin1String("NormalProgramScheduleData"), global.GetNorProgramScheduleModel()->SaveScheduleData());
    content.insert(QLatin1String("InsertProgramScheduleData"), global.GetInsProgramScheduleModel()->SaveScheduleData());
    content.insert(QLatin1String("StageSceneData"), GetPlayController()->SaveStageData());
    content.insert(QLatin1String("SceneMgrModel"), CSceneMgrModel::GetInstance()->SaveSceneMgrModel({}));
    content.insert(QLatin1String("ResourceModel"), CResourceModel::GetInstance()->SaveResourceModel(false, false));
    QJsonObject message;
    message.insert(QLatin1String("curProjectPath"), QLatin1String("\\srv\\show\\Gala.zxc"));
    message.insert(QLatin1String("curProjectName"), QLatin1String("Gala"));
    message.insert(QLatin1String("type"), kEditionName);
    message.insert(QLatin1String("content"), QString::fromUtf8(QJsonDocument(content).toJson()));
    return QJsonDocument(message).toJson();
}

bool IsExport(const std::vector<QByteArray>& sent, const QByteArray& picture, int count)
{
    if (static_cast<int>(sent.size()) != count + 1 || sent.back() != DocumentByHand())
        return false;
    for (int i = 0; i < count; ++i) {
        const QJsonObject clip = {{"type", "clip"},
                                  {"id", IdOf(1, i).toString(QUuid::WithoutBraces)},
                                  {"data", QString::fromLatin1(picture)}};
        if (sent[static_cast<std::size_t>(i)] != QJsonDocument(clip).toJson())
            return false;
    }
    return true;
}

SCase CaseOf(int count, double aim, std::function<QByteArray()> byHand)
{
    return {
        "project-export/" + std::to_string(count),
        count,
        aim,
        [show = MakeShow(count)] { HostModels::Show().Load(show); },
        [] { Ask(Command::ProjectExport, "{}", Source::CloudControl); },
        std::move(byHand),
        [count](const std::vector<QByteArray>& sent, const QByteArray& text) { return IsExport(sent, text, count); }};
}

QByteArray PicturesByHand(int count)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text = PictureByHand();
    return text;
}

QByteArray LeastMemoryByHand()
{
    benchmark::DoNotOptimize(PictureByHand());
    return DocumentByHand();
}

} // namespace

QPixmap CResourceBase::GetThumbnail() const
{
    return Thumbnail();
}

std::vector<SCase> Cases::ProjectExport()
{
    constexpr int kClips = 500;
    return {CaseOf(kClips, kAim, [] { return PicturesByHand(kClips); })};
}

std::vector<SCase> Cases::ProjectExportMemory()
{
    return {CaseOf(50, kMemoryAim, LeastMemoryByHand), CaseOf(500, kMemoryAim, LeastMemoryByHand)};
}
