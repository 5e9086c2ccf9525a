#pragma once

#include "ExternalController/Common/Operation.h"
#include "HostModels/Show.h"

#include <QByteArray>

#include <functional>
#include <string>
#include <vector>

/// One request, answered by the module and by hand. Both work from the same data to the same text.
struct SCase {
    std::string name;
    int items;                     ///< how many the list in the reply has
    double aim;                    ///< how many times as long as by hand the module may take
    std::function<void()> prepare; ///< makes the host what the request asks about; not measured
    std::function<void()> ask;
    std::function<QByteArray()> byHand;
};

namespace Cases {

std::vector<SCase> SmallRequests();
std::vector<SCase> SceneManagerData();
std::vector<SCase> ResourceList();
std::vector<SCase> MediaList();
std::vector<SCase> SharedFolderList();
std::vector<SCase> MediaThumbnail();

} // namespace Cases

/// Hands the module a request whose body comes as text.
void Ask(int code, const QByteArray& body, Source::Flag source = Source::App);

/// A host whose one project has this in it.
SShow ShowOf(SProject project);
/// The same id for the same numbers.
QUuid IdOf(int kind, int number);

/// The numbers below count in the order of their decimal texts. A list with these keys grows at its end alone; in
/// numerical order a long one takes far longer to build.
std::vector<int> InTextOrder(int count);
