#include "Support/HostDoubles.h"

#include "Interfaces/CltLog.h"
#include "Interfaces/GlobalModel.h"
#include "Interfaces/ResultModel.h"

#include <QFontDatabase>
#include <QHostInfo>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

class CDeviceResource;
class CExControlDevModel;
class CPlayController;
class CPPtPlayerMgr;
class CRenderController;
class CScreenModel;

namespace {

std::atomic<Model> s_missing{Model::None};

/// Returns null if the model is missing, otherwise the test's model if there is one.
template <class Pointer>
Pointer Unless(Model missing, Pointer model, Pointer ofTest = nullptr)
{
    return s_missing == missing ? Pointer() : ofTest ? ofTest : model;
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

SDoubles& Doubles()
{
    static SDoubles doubles;
    return doubles;
}

IP_ADAPTER_INFO MakeAdapter(const char* description, const char* address, BYTE number)
{
    IP_ADAPTER_INFO adapter{};
    qstrncpy(adapter.Description, description, sizeof(adapter.Description));
    qstrncpy(adapter.IpAddressList.IpAddress.String, address, sizeof(adapter.IpAddressList.IpAddress.String));
    qstrncpy(adapter.IpAddressList.IpMask.String, "255.255.255.0", sizeof(adapter.IpAddressList.IpMask.String));
    qstrncpy(adapter.GatewayList.IpAddress.String, "10.0.0.1", sizeof(adapter.GatewayList.IpAddress.String));
    const BYTE hardwareAddress[] = {0x00, 0x1b, 0x44, 0x11, 0x3a, 0xb7, 0xff, number};
    std::copy(std::begin(hardwareAddress), std::end(hardwareAddress), adapter.Address);
    adapter.AddressLength = sizeof(hardwareAddress);
    return adapter;
}

// The linker redirects the module's calls to these functions (--wrap in CMakeLists.txt), and specifies their names.
// NOLINTBEGIN(bugprone-reserved-identifier,bugprone-macro-parentheses)

#define WRAPS_WITH(Type, accessor, missing, ofTest)                                                                    \
    extern "C" Type* __real_##accessor();                                                                              \
    extern "C" Type* __wrap_##accessor()                                                                               \
    {                                                                                                                  \
        return Unless<Type*>(Model::missing, __real_##accessor(), ofTest);                                             \
    }
#define WRAPS(Type, accessor, missing) WRAPS_WITH(Type, accessor, missing, nullptr)

WRAPS(CExControlDevModel, _ZN18CExControlDevModel11GetInstanceEv, Devices)
WRAPS(CDeviceResource, _Z17GetDeviceResourcev, DeviceResource)
WRAPS(CPlayController, _Z17GetPlayControllerv, Player)
WRAPS(CPPtPlayerMgr, _Z15GetPPtPlayerMgrv, Presentations)
WRAPS(CRenderController, _Z19GetRenderControllerv, Render)
WRAPS_WITH(CResourceModel, _ZN14CResourceModel11GetInstanceEv, Resources, Doubles().resources)
WRAPS_WITH(CSceneMgrModel, _ZN14CSceneMgrModel11GetInstanceEv, Scenes, Doubles().scenes)
WRAPS(CScreenModel, _ZN12CScreenModel11GetInstanceEv, Screens)

extern "C" CResultModel* __real__ZN12CResultModel11GetInstanceEv();
extern "C" CResultModel* __wrap__ZN12CResultModel11GetInstanceEv()
{
    class CChecked : public CResultModel {
    public:
        void NotifyExControlMsgResult(bool success, SResultData& result) override
        {
            EXPECT_TRUE(success);
            __real__ZN12CResultModel11GetInstanceEv()->NotifyExControlMsgResult(success, result);
        }
    };
    static CChecked model;
    return Unless(Model::Results, static_cast<CResultModel*>(&model));
}

QString MachineName() __asm__("__wrap__ZN9QHostInfo13localHostNameEv");
QString MachineName()
{
    return Doubles().machineName;
}

QHostInfo Resolve(const QString& name) __asm__("__wrap__ZN9QHostInfo8fromNameERK7QString");
QHostInfo Resolve(const QString& name)
{
    QHostInfo info;
    if (name == Doubles().machineName)
        info.setAddresses(Doubles().resolved);
    return info;
}

QList<QHostAddress> Addresses() __asm__("__wrap__ZN17QNetworkInterface12allAddressesEv");
QList<QHostAddress> Addresses()
{
    return Doubles().addresses;
}

QStringList
FontFamilies(const QFontDatabase*,
             QFontDatabase::WritingSystem) __asm__("__wrap__ZNK13QFontDatabase8familiesENS_13WritingSystemE");
QStringList FontFamilies(const QFontDatabase*, QFontDatabase::WritingSystem)
{
    return {"Example Serif", "例示"};
}

std::shared_ptr<CltLog::CLogger> OperationLogger() __asm__("__wrap__ZN6CltLog18GetOperationLoggerEv");
std::shared_ptr<CltLog::CLogger> OperationLogger()
{
    return Doubles().operationLog;
}

ULONG ReadAdapters(PIP_ADAPTER_INFO records, PULONG bytes) __asm__("__wrap__Z15GetAdaptersInfoP15IP_ADAPTER_INFOPj");
ULONG ReadAdapters(PIP_ADAPTER_INFO records, PULONG bytes)
{
    const std::vector<IP_ADAPTER_INFO>& adapters = Doubles().adapters;
    const auto needed = static_cast<ULONG>(adapters.size() * sizeof(IP_ADAPTER_INFO));
    if (needed == 0)
        return ERROR_NO_DATA;
    if (!records || *bytes < needed) {
        *bytes = needed;
        return ERROR_BUFFER_OVERFLOW;
    }
    std::copy(adapters.begin(), adapters.end(), records);
    for (std::size_t i = 0; i + 1 < adapters.size(); ++i)
        records[i].Next = &records[i + 1];
    return NO_ERROR;
}

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
        return Unless(Model::Users, Whole().GetAPPUserModel(), Doubles().users);
    }
    std::shared_ptr<CZXProjectSettingData> GetProjectSetting() override
    {
        return Unless(Model::ProjectSetting, Whole().GetProjectSetting());
    }
    std::shared_ptr<CZXProject> GetZXProject() override { return Unless(Model::Project, Whole().GetZXProject()); }
    std::shared_ptr<CPerformanceModel> GetPerformanceModel() override
    {
        return Unless(Model::Performance, Whole().GetPerformanceModel(), Doubles().performance);
    }
    std::shared_ptr<CLogModel> GetLogModel() override
    {
        return Unless(Model::Log, Whole().GetLogModel(), Doubles().log);
    }
    std::shared_ptr<CProgramScheduleModel> GetNorProgramScheduleModel() override
    {
        return Unless(Model::NormalSchedule, Whole().GetNorProgramScheduleModel(), Doubles().normalSchedule);
    }
    std::shared_ptr<CProgramScheduleModel> GetInsProgramScheduleModel() override
    {
        return Unless(Model::InsertSchedule, Whole().GetInsProgramScheduleModel(), Doubles().insertSchedule);
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
// NOLINTEND(bugprone-reserved-identifier,bugprone-macro-parentheses)
