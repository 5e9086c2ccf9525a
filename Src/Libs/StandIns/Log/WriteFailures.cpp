#include "Log/WriteFailures.h"

#include <QLoggingCategory>

#include <mutex>
#include <set>

Q_LOGGING_CATEGORY(lcFiles, "zentravox.files")

namespace {

std::mutex s_mutex;

std::set<QString>& FailingFiles()
{
    static std::set<QString> files;
    return files;
}

} // namespace

void WriteFailures::Failed(const QString& file, const QString& reason)
{
    {
        const std::lock_guard lock(s_mutex);
        if (!FailingFiles().insert(file).second)
            return;
    }
    qCWarning(lcFiles).noquote() << file + ": not written: " + reason;
}

void WriteFailures::Succeeded(const QString& file)
{
    {
        const std::lock_guard lock(s_mutex);
        if (FailingFiles().erase(file) == 0)
            return;
    }
    qCWarning(lcFiles).noquote() << file + ": written again";
}
