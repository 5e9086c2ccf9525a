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

/// A host without this model, as the module sees it, as long as the object lives.
class CWithout {
public:
    explicit CWithout(Model model);
    ~CWithout();
    CWithout(const CWithout&) = delete;
    CWithout& operator=(const CWithout&) = delete;
};
