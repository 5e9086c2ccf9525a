#pragma once

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
