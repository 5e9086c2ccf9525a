#pragma once

#include "ExternalController/Common/Operation.h"
#include "HostModels/Show/Show.h"

#include <QByteArray>

#include <QSize>

#include <functional>
#include <string>
#include <vector>

class QImage;

/// One request, answered by the module and by handwritten code. They produce the same text from the same data.
struct SCase {
    std::string name;
    int items;                     ///< number of items of the list in the reply
    double aim;                    ///< maximum ratio of the module's time to that of direct, if set, or of byHand
    std::function<void()> prepare; ///< prepares the host's data for the request; not measured
    std::function<void()> ask;
    std::function<QByteArray()> byHand; ///< with Qt's functions for JSON and files
    /// Returns whether the module's packets contain the handwritten reply. If empty, they must end with it.
    std::function<bool(const std::vector<QByteArray>& sent, const QByteArray& text)> isSame = {};
    /// The lowest cost that is known. Returns the same text as byHand, or no text if it does only a part of the work.
    std::function<QByteArray()> direct = {};
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
/// The cases whose memory is measured; handwritten, it is that of one picture and the project's document.
std::vector<SCase> ProjectExportMemory();

} // namespace Cases

/// Delivers a request with this body text to the module.
void Ask(int code, const QByteArray& body, Source::Flag source = Source::App);

/// Loads a show with one project with these contents.
SShow ShowOf(SProject project);
/// Returns a picture that is smooth like a photo, with some noise and a transparent edge.
QImage MakePicture(const QSize& size);
/// Returns the same id for the same numbers.
QUuid IdOf(int kind, int number);

/// Returns the numbers below count in the order of their decimal texts. Inserting keys in this order only appends; in
/// numerical order a long list takes far longer to build.
std::vector<int> InTextOrder(int count);
