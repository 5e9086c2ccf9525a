#pragma once

#include <QJsonObject>

/// What the host is to play at which time. Safe to call from any thread.
class CProgramScheduleModel {
public:
    virtual ~CProgramScheduleModel() = default;

    virtual QJsonObject SaveScheduleData() = 0;
};
