#include "Support/MissingModels.h"

#include "Interfaces/GlobalModel.h"

#include <atomic>

class CDeviceResource;
class CExControlDevModel;
class CPlayController;
class CPPtPlayerMgr;
class CRenderController;
class CResourceModel;
class CResultModel;
class CSceneMgrModel;
class CScreenModel;

namespace {

std::atomic<Model> s_missing{Model::None};

template <class Pointer>
Pointer Unless(Model missing, Pointer model)
{
    return s_missing == missing ? Pointer() : model;
}

} // namespace

CWithout::CWithout(Model model)
{
    s_missing = model;
}

CWithout::~CWithout()
{
    s_missing = Model::None;
}

// The linker redirects the module's calls of the accessors to these functions (--wrap in CMakeLists.txt).
#define WRAPS(Type, accessor, missing)                                                                                 \
    extern "C" Type* __real_##accessor();                                                                              \
    extern "C" Type* __wrap_##accessor()                                                                               \
    {                                                                                                                  \
        return Unless(Model::missing, __real_##accessor());                                                            \
    }

WRAPS(CExControlDevModel, _ZN18CExControlDevModel11GetInstanceEv, Devices)
WRAPS(CDeviceResource, _Z17GetDeviceResourcev, DeviceResource)
WRAPS(CPlayController, _Z17GetPlayControllerv, Player)
WRAPS(CPPtPlayerMgr, _Z15GetPPtPlayerMgrv, Presentations)
WRAPS(CRenderController, _Z19GetRenderControllerv, Render)
WRAPS(CResourceModel, _ZN14CResourceModel11GetInstanceEv, Resources)
WRAPS(CResultModel, _ZN12CResultModel11GetInstanceEv, Results)
WRAPS(CSceneMgrModel, _ZN14CSceneMgrModel11GetInstanceEv, Scenes)
WRAPS(CScreenModel, _ZN12CScreenModel11GetInstanceEv, Screens)

extern "C" CGlobalModel* __real__ZN12CGlobalModel11GetInstanceEv();

namespace {

class CPartialGlobalModel : public CGlobalModel {
public:
    std::shared_ptr<CZXSoftwareSettingData> GetSoftwareSetting() override
    {
        return Unless(Model::SoftwareSetting, Whole().GetSoftwareSetting());
    }
    std::shared_ptr<CAPPUserModel> GetAPPUserModel() override
    {
        return Unless(Model::Users, Whole().GetAPPUserModel());
    }
    std::shared_ptr<CZXProjectSettingData> GetProjectSetting() override
    {
        return Unless(Model::ProjectSetting, Whole().GetProjectSetting());
    }
    std::shared_ptr<CZXProject> GetZXProject() override { return Unless(Model::Project, Whole().GetZXProject()); }
    std::shared_ptr<CPerformanceModel> GetPerformanceModel() override
    {
        return Unless(Model::Performance, Whole().GetPerformanceModel());
    }
    std::shared_ptr<CLogModel> GetLogModel() override { return Unless(Model::Log, Whole().GetLogModel()); }
    std::shared_ptr<CProgramScheduleModel> GetNorProgramScheduleModel() override
    {
        return Unless(Model::NormalSchedule, Whole().GetNorProgramScheduleModel());
    }
    std::shared_ptr<CProgramScheduleModel> GetInsProgramScheduleModel() override
    {
        return Unless(Model::InsertSchedule, Whole().GetInsProgramScheduleModel());
    }
    QString GetAppFormatName() override { return Whole().GetAppFormatName(); }
    QString GetAppVersion() override { return Whole().GetAppVersion(); }

private:
    static CGlobalModel& Whole() { return *__real__ZN12CGlobalModel11GetInstanceEv(); }
};

} // namespace

extern "C" CGlobalModel* __wrap__ZN12CGlobalModel11GetInstanceEv()
{
    static CPartialGlobalModel model;
    return Unless(Model::Global, static_cast<CGlobalModel*>(&model));
}
