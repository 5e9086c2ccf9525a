#pragma once

#include "Interfaces/PerformanceModel.h"

/// Properties of the machine that the host runs on, read from the operating system. Unknown values are empty.
class CHostPerformanceModel : public CPerformanceModel {
public:
    ZXPerformanceData::SSystemInfo GetSystemInfo() override;
};
