#include "HostModels/Models/HostPerformanceModel.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QSysInfo>

#include <tuple>
#include <utility>

namespace {

QString ReadText(const QString& file)
{
    QFile text(file);
    return text.open(QIODevice::ReadOnly) ? QString::fromUtf8(text.readAll()).trimmed() : QString();
}

/// Returns the value of a key in a file of "key : value" lines; empty if not found.
QString ReadField(const QString& file, const QString& key)
{
    const QStringList lines = ReadText(file).split('\n');
    for (const QString& line : lines) {
        if (line.section(':', 0, 0).trimmed() == key)
            return line.section(':', 1).trimmed();
    }
    return {};
}

QString CpuName()
{
    const QString name = ReadField("/proc/cpuinfo", "model name");
    return name.isEmpty() ? QSysInfo::currentCpuArchitecture() : name;
}

/// Returns the driver name, vendor id and device id of the first graphics card, and the driver's version.
std::pair<QString, QString> GraphicsCard()
{
    const QDir cards("/sys/class/drm");
    const QStringList names = cards.entryList({"card?"}, QDir::Dirs | QDir::System, QDir::Name);
    if (names.isEmpty())
        return {};
    const QString device = cards.filePath(names.first() + "/device/");
    const QString driver = QFileInfo(QFile::symLinkTarget(device + "driver")).fileName();
    const QString name =
        QStringLiteral("%1 %2:%3").arg(driver, ReadText(device + "vendor"), ReadText(device + "device"));
    return {name.trimmed(), ReadText("/sys/module/" + driver + "/version")};
}

QList<ZXPerformanceData::SDisk> Disks()
{
    QList<ZXPerformanceData::SDisk> disks;
    const QList<QStorageInfo> volumes = QStorageInfo::mountedVolumes();
    for (const QStorageInfo& volume : volumes) {
        const bool isDisk = volume.device().startsWith("/dev/") || volume.isRoot();
        if (isDisk && volume.isReady())
            disks.append({volume.rootPath(), volume.bytesTotal(), volume.bytesAvailable()});
    }
    return disks;
}

/// Returns the whole memory as one module: only root can read the list of modules.
QList<ZXPerformanceData::SMemoryModule> Memory()
{
    const qint64 kilobytes = ReadField("/proc/meminfo", "MemTotal").section(' ', 0, 0).toLongLong();
    if (kilobytes == 0)
        return {};
    return {{QStringLiteral("1"), kilobytes * 1024, 0}};
}

} // namespace

ZXPerformanceData::SSystemInfo CHostPerformanceModel::GetSystemInfo()
{
    ZXPerformanceData::SSystemInfo info;
    info.system = QSysInfo::prettyProductName() + ' ' + QSysInfo::kernelType() + ' ' + QSysInfo::kernelVersion();
    info.cpu = CpuName();
    std::tie(info.gpu, info.gpuDriverVersion) = GraphicsCard();
    info.disks = Disks();
    info.memory = Memory();
    return info;
}
