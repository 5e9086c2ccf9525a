#pragma once

#include <QJsonObject>

/// The scheduled programme of the show. Safe to call from any thread.
class CProgramScheduleModel {
public:
    virtual ~CProgramScheduleModel() = default;

    virtual QJsonObject SaveScheduleData() = 0;
};
