#pragma once

#include "ExternalController/Common/Operation.h"
#include "HostModels/Show/Show.h"

#include <QByteArray>

#include <QSize>

#include <functional>
#include <string>
#include <vector>

class QImage;

/// One request, answered by the module and by hand. Both work from the same data to the same text.
struct SCase {
    std::string name;
    int items;                     ///< how many the list in the reply has
    double aim;                    ///< how many times what it costs by hand it may cost the module
    std::function<void()> prepare; ///< makes the host what the request asks about; not measured
    std::function<void()> ask;
    std::function<QByteArray()> byHand;
    /// Whether what the module has sent, packet by packet, has in it what is made by hand. Empty: it ends with it.
    std::function<bool(const std::vector<QByteArray>& sent, const QByteArray& text)> isSame = {};
};

namespace Cases {

std::vector<SCase> SmallRequests();
std::vector<SCase> SceneManagerData();
std::vector<SCase> ResourceList();
std::vector<SCase> MediaList();
std::vector<SCase> SharedFolderList();
std::vector<SCase> MediaThumbnail();
std::vector<SCase> LogTables();
std::vector<SCase> ProjectExport();
/// Those whose memory is measured: by hand it is that of one picture and the project's document.
std::vector<SCase> ProjectExportMemory();

} // namespace Cases

/// Hands the module a request whose body comes as text.
void Ask(int code, const QByteArray& body, Source::Flag source = Source::App);

/// A host whose one project has this in it.
SShow ShowOf(SProject project);
/// Smooth like a photo, with some grain and a transparent edge.
QImage MakePicture(const QSize& size);
/// The same id for the same numbers.
QUuid IdOf(int kind, int number);

/// The numbers below count in the order of their decimal texts. A list with these keys grows at its end alone; in
/// numerical order a long one takes far longer to build.
std::vector<int> InTextOrder(int count);
