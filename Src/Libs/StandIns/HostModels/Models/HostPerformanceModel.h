#pragma once

#include "Interfaces/PerformanceModel.h"

/// The machine that the host runs on, as it tells about itself. What can't be found out reads as empty.
class CHostPerformanceModel : public CPerformanceModel {
public:
    ZXPerformanceData::SSystemInfo GetSystemInfo() override;
};
