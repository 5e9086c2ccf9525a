#include "HostModels/Models/HostProject.h"

#include "HostModels/Show/HostShow.h"

#include <QDir>
#include <QFileInfo>

namespace {

/// A path for a project: its name with the suffix .zxc, in the folder of the show file. The file doesn't exist, because
/// a show file contains all projects. Empty for a show without a file.
QString PathOf(const SShow& show, const SProject& project)
{
    return show.file.isEmpty() ? QString() : QFileInfo(show.file).absoluteDir().filePath(project.name + ".zxc");
}

} // namespace

QUuid CHostProject::GetId()
{
    const CShowReading show;
    return show->Project() ? show->Project()->id : QUuid();
}

QString CHostProject::GetProjectPath()
{
    const CShowReading show;
    return show->Project() ? PathOf(*show, *show->Project()) : QString();
}

QString CHostProject::GetProjectName()
{
    const CShowReading show;
    return show->Project() ? show->Project()->name : QString();
}

int CHostProject::GetAppCtrlMode()
{
    const CShowReading show;
    return show->Project() ? show->Project()->appControlMode : 0;
}

std::vector<SProjectMgrNode> CHostProject::GetProjectMgrList()
{
    const CShowReading show;
    std::vector<SProjectMgrNode> nodes;
    for (const auto& project : show->projects)
        nodes.push_back({PathOf(*show, *project), project->name, project->id});
    return nodes;
}

std::pair<bool, int> CHostProjectSetting::LoadHDRSetting()
{
    const CShowReading show;
    const SProject* project = show->Project();
    return project ? std::pair(project->hdr, project->hdrKind) : std::pair(false, 0);
}

QString CHostProjectSetting::LoadStageZoomRatio()
{
    const CShowReading show;
    return show->Project() ? show->Project()->stageZoomRatio : QString();
}
