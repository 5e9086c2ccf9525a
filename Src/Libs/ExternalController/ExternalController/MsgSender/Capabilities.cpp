#include "ExternalController/MsgSender/Capabilities.h"

#include "ExternalController/Common/ResourceType.h"

#include <cstdint>
#include <initializer_list>

using namespace ResourceType;

namespace {

constexpr unsigned int kBoth = Capabilities::Resource | Capabilities::Media;

struct STypes {
    constexpr bool Has(int type) const
    {
        const bool listed = type >= 0 && type <= Last && (mask >> type & 1) != 0;
        return listed != allBut;
    }

    std::uint32_t mask;
    bool allBut;
};

constexpr std::uint32_t MaskOf(std::initializer_list<Type> types)
{
    std::uint32_t mask = 0;
    for (const Type type : types)
        mask |= std::uint32_t{1} << type;
    return mask;
}

constexpr STypes Only(std::initializer_list<Type> types)
{
    return {MaskOf(types), false};
}

constexpr STypes AllBut(std::initializer_list<Type> types)
{
    return {MaskOf(types), true};
}

struct SCapability {
    CReplyKey key;
    STypes types;
    unsigned int reportedBy = kBoth;
};

constexpr SCapability kCapabilities[] = {
    {"showResolution", Only({Video, Picture})},
    {"needPushStream", AllBut({Audio, Folder, CaptureCardAudio})},
    {"multiPageResource", Only({Presentation, Spreadsheet, Table, Database, Pdf, Word, Teleprompter})},
    {"flipSupport", AllBut({Audio, CaptureCardAudio})},
    {"isVideoResource", Only({Video})},
    {"isPicResource", Only({Picture})},
    {"isGroupResource", Only({Group})},
    {"isTextResource", Only({Text})},
    {"streamWithAlpha", Only({Picture, Text, TestChart, Weather, Timer, Spreadsheet, Clock, Calendar, Table, Database,
                              Environment, Subtitle, Pdf, Word, Lottery, Teleprompter, ScrollingGroup})},
    {"isSupportScroll", Only({Text, Weather, Spreadsheet, Table, Database, Pdf, Word, ScrollingGroup})},
    {"isSupportFillMode", AllBut({Text, TestChart, Weather, Timer, Clock, Calendar, Environment, ScrollingGroup})},
    {"isHasRealThumbnail", Only({Video, Picture, Group, Presentation, ScrollingGroup}), Capabilities::Resource},
    {"isSupportModifyScrollDirection", Only({Text, ScrollingGroup}), Capabilities::Media},
};

/// For a group, the capability depends on the type of the group instead.
constexpr STypes kWithVolume = Only({Video, Audio, CaptureCardAudio, Stream, Ndi});

} // namespace

void Capabilities::Add(CReply& to, Of what, int resourceType, int groupType)
{
    for (const SCapability& capability : kCapabilities) {
        if (capability.reportedBy & what)
            to.Set(capability.key, capability.types.Has(resourceType));
    }
    to.Set("volumeSupport", resourceType == Group ? groupType == 0 : kWithVolume.Has(resourceType));
}
