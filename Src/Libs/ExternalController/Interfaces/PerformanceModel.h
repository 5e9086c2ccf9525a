#pragma once

#include <QList>
#include <QString>

#include <cstdint>

namespace ZXPerformanceData {

struct SDisk {
    QString name;
    std::int64_t total = 0;     ///< bytes
    std::int64_t available = 0; ///< bytes
};

struct SMemoryModule {
    QString number;
    std::int64_t space = 0;     ///< bytes
    std::int64_t frequency = 0; ///< MHz; 0 if unknown
};

/// The machine that the host runs on.
struct SSystemInfo {
    QString system;
    QString cpu;
    QString gpu;
    QString gpuDriverVersion;
    QString office;
    QList<SDisk> disks;
    QList<SMemoryModule> memory;
};

} // namespace ZXPerformanceData

/// Safe to call from any thread.
class CPerformanceModel {
public:
    virtual ~CPerformanceModel() = default;

    virtual ZXPerformanceData::SSystemInfo GetSystemInfo() = 0;
};
