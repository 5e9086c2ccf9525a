#include "HostModels/Show/ShowJson.h"

#include "ExternalController/Common/ResourceType.h"

namespace {

QString IdText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces);
}

QJsonObject ToJson(const SScrollSettings& scroll)
{
    return {{"mode", scroll.mode},
            {"speed", double{scroll.speed}},
            {"headConnectTail", scroll.headConnectTail},
            {"interval", scroll.interval}};
}

QJsonObject ToJson(const STextProperties& text)
{
    QJsonObject json = {{"content", text.text},           {"font", text.font.family()},
                        {"size", text.font.pixelSize()},  {"bold", text.font.bold()},
                        {"italic", text.font.italic()},   {"underline", text.font.underline()},
                        {"alignment", text.horAlignment}, {"color", text.textColor.name()},
                        {"showType", text.showType},      {"colorEffect", text.colorTextEffect}};
    if (text.hasBackColor)
        json["backColor"] = text.backColor.name();
    return json;
}

/// The scene's device commands with this trigger.
QJsonArray DeviceCommands(const CSceneNode& scene, int trigger)
{
    std::vector<SSceneExControlCmd> commands;
    scene.GetAllExControlCmd(commands);
    QJsonArray list;
    for (const SSceneExControlCmd& command : commands) {
        if (command.nTriggerType == trigger)
            list.append(QJsonObject{{"device", IdText(command.devId)}, {"command", IdText(command.cmdId)}});
    }
    return list;
}

QJsonObject ToJson(const SScene& scene)
{
    QJsonArray media;
    for (const CMediaNode& medium : scene.media)
        media.append(ToJson(medium));
    return {{"id", IdText(scene.node.GetId())},
            {"name", scene.node.GetName()},
            {"fadeIn", scene.node.GetFadeInTime()},
            {"fadeOut", scene.node.GetFadeOutTime()},
            {"media", media},
            {"startCommands", DeviceCommands(scene.node, SceneTrigger::Start)},
            {"endCommands", DeviceCommands(scene.node, SceneTrigger::End)}};
}

} // namespace

QJsonObject ToJson(const SResource& resource)
{
    const CResourceBase& base = resource.base;
    QJsonObject json = {{"id", IdText(base.GetId())},
                        {"type", base.GetType()},
                        {"name", base.GetName()},
                        {"file", base.GetPath()},
                        {"width", base.GetResolution().width()},
                        {"height", base.GetResolution().height()},
                        {"duration", qint64{base.GetDuration()}},
                        {"demuxed", base.GetResDemuxered()},
                        {"pages", resource.pages}};
    if (base.GetType() == ResourceType::Group)
        json["groupType"] = resource.groupType;
    if (base.GetType() == ResourceType::Text)
        json["text"] = ToJson(resource.text);
    if (resource.scroll)
        json["scroll"] = ToJson(*resource.scroll);
    return json;
}

QJsonObject ToJson(const SSceneGroup& group)
{
    QJsonArray scenes;
    for (const auto& scene : group.scenes)
        scenes.append(ToJson(*scene));
    return {{"id", IdText(group.id)}, {"name", group.name}, {"scenes", scenes}};
}

QJsonObject ToJson(const CMediaNode& media)
{
    const auto layout = media.GetLayoutProperty();
    const auto play = media.GetPlayProperty();
    const auto timing = media.GetTimingProperty();
    return {{"id", IdText(media.GetId())},
            {"name", media.GetName()},
            {"resource", IdText(media.GetResourceId())},
            {"x", layout->position.x()},
            {"y", layout->position.y()},
            {"width", layout->size.width()},
            {"height", layout->size.height()},
            {"rotation", double{layout->rotation}},
            {"hidden", layout->hidden},
            {"locked", layout->locked},
            {"horFlip", layout->horFlip},
            {"verFlip", layout->verFlip},
            {"fixed", layout->fixed},
            {"fillType", layout->fillType},
            {"blendType", layout->blendType},
            {"startTime", qint64{play->startPlayTime}},
            {"muted", play->muted},
            {"currentState", play->currentState},
            {"totalTime", qint64{timing->totalTime}},
            {"playMode", timing->playMode},
            {"scroll", ToJson(play->scroll)},
            {"pageScroll", ToJson(*media.GetPageScroll())}};
}

QJsonObject ToJson(const SScreen& screen)
{
    QJsonArray parts;
    for (const QRectF& part : screen.divisions)
        parts.append(QJsonObject{{"x", part.x()}, {"y", part.y()}, {"width", part.width()}, {"height", part.height()}});
    return {{"id", IdText(screen.id)},
            {"name", screen.name},
            {"x", screen.place.x()},
            {"y", screen.place.y()},
            {"width", screen.place.width()},
            {"height", screen.place.height()},
            {"state", screen.state},
            {"open", screen.open},
            {"added", screen.added},
            {"useful", screen.useful},
            {"division", QJsonObject{{"type", screen.divisionType}, {"parts", parts}}}};
}
