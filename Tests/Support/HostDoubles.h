#pragma once

#include "Interfaces/IpHelper.h"

#include <QHostAddress>
#include <QList>
#include <QString>

#include <memory>
#include <vector>

class CAPPUserModel;
class CLogModel;
class CPerformanceModel;
class CProgramScheduleModel;
class CResourceModel;
class CSceneMgrModel;
namespace CltLog {
class CLogger;
}

/// The host's models that the module uses.
enum class Model {
    None,
    Global,
    SoftwareSetting,
    Users,
    ProjectSetting,
    Project,
    Performance,
    Log,
    NormalSchedule,
    InsertSchedule,
    Devices,
    DeviceResource,
    Player,
    Presentations,
    Render,
    Resources,
    Results,
    Scenes,
    Screens,
    Count,
};

/// Makes one model of the host unavailable to the module during its lifetime.
class CWithout {
public:
    explicit CWithout(Model model);
    ~CWithout();
    CWithout(const CWithout&) = delete;
    CWithout& operator=(const CWithout&) = delete;
};

/// What the module reads from its host and from the machine. Models that are null are those of the stand-in host.
struct SDoubles {
    std::shared_ptr<CPerformanceModel> performance;
    std::shared_ptr<CLogModel> log;
    std::shared_ptr<CAPPUserModel> users;
    std::shared_ptr<CProgramScheduleModel> normalSchedule;
    std::shared_ptr<CProgramScheduleModel> insertSchedule;
    CResourceModel* resources = nullptr;
    CSceneMgrModel* scenes = nullptr;
    std::shared_ptr<CltLog::CLogger> operationLog; ///< null: the host has none
    QString machineName = QStringLiteral("stage-pc");
    /// The addresses of the machine, and those to which its name resolves.
    QList<QHostAddress> addresses = {QHostAddress("::1"), QHostAddress("127.0.0.1"), QHostAddress("fe80::1"),
                                     QHostAddress("10.0.0.5"), QHostAddress("10.0.0.6")};
    QList<QHostAddress> resolved = {QHostAddress("fe80::1"), QHostAddress("10.0.0.5"), QHostAddress("10.0.0.6")};
    std::vector<IP_ADAPTER_INFO> adapters; ///< linked when they are read
};
SDoubles& Doubles();

/// Returns an adapter with a gateway at 10.0.0.1 and the 8-byte hardware address 00-1B-44-11-3A-B7-FF and the number.
IP_ADAPTER_INFO MakeAdapter(const char* description, const char* address, BYTE number = 0);
