#include "ShowHost/Page/Metrics.h"

#include <QFile>

namespace {

constexpr int kBytesPerKiB = 1024;

/// The resident memory of this process; 0 where the system has no /proc.
qint64 ResidentBytes()
{
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const QByteArray line = text.mid(text.indexOf("VmRSS:") + 6).split('\n').constFirst();
    return line.simplified().split(' ').constFirst().toLongLong() * kBytesPerKiB;
}

QByteArray Metric(const char* name, const char* type, const char* help, qint64 value)
{
    return QByteArray("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n' + name + ' ' +
           QByteArray::number(value) + '\n';
}

} // namespace

QByteArray ProcessMetrics(std::size_t pages)
{
    return Metric("process_resident_memory_bytes", "gauge", "Resident memory of the host.", ResidentBytes()) +
           Metric("showhost_pages", "gauge", "Stage pages that are open.", static_cast<qint64>(pages));
}
