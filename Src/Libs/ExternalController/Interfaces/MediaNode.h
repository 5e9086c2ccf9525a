#pragma once

#include <QPointF>
#include <QSize>
#include <QString>
#include <QUuid>

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

/// How a text or document scrolls over the stage.
struct SScrollSettings {
    int mode = 0;                 ///< the host's number
    float speed = 0;              ///< in the host's unit
    bool headConnectTail = false; ///< the beginning follows the end without a gap
    int interval = 0;             ///< in the host's unit
};

/// A medium's layout on the stage, in pixels of the stage and degrees counterclockwise.
struct SLayoutProperty {
    float rotation = 0;
    QSize size;
    QPointF position; ///< top left corner, before the rotation
    bool hidden = false;
    bool locked = false;
    bool horFlip = false;
    bool verFlip = false;
    bool fixed = false;
    int fillType = 0;  ///< the host's number
    int blendType = 0; ///< the host's number
    /// After the rotation about the centre: clockwise, beginning with the top left corner.
    std::array<QPointF, 4> corners;
};

struct SPlayProperty {
    std::int64_t startPlayTime = 0; ///< milliseconds
    bool muted = false;
    int currentState = 0; ///< of a medium with pages: the page, counted from 0
    SScrollSettings scroll;
};

struct STimingProperty {
    std::int64_t totalTime = 0; ///< milliseconds
    int playMode = 0;           ///< the host's number
};

/// The properties of a medium.
struct SMediaProperties {
    QUuid id;
    QString name;
    QUuid resourceId;
    int resourceType = 0;
    SLayoutProperty layout;
    SPlayProperty play;
    STimingProperty timing;
    SScrollSettings pageScroll;
};

/// A medium on the stage. Copies share its properties.
class CMediaNode {
public:
    explicit CMediaNode(std::shared_ptr<const SMediaProperties> properties) : m_properties(std::move(properties)) {}

    const QUuid& GetId() const { return m_properties->id; }
    const QString& GetName() const { return m_properties->name; }
    const QUuid& GetResourceId() const { return m_properties->resourceId; }
    int GetResourceType() const { return m_properties->resourceType; }
    std::shared_ptr<const SLayoutProperty> GetLayoutProperty() const { return {m_properties, &m_properties->layout}; }
    std::shared_ptr<const SPlayProperty> GetPlayProperty() const { return {m_properties, &m_properties->play}; }
    std::shared_ptr<const STimingProperty> GetTimingProperty() const { return {m_properties, &m_properties->timing}; }
    /// How a document with pages scrolls.
    std::shared_ptr<const SScrollSettings> GetPageScroll() const { return {m_properties, &m_properties->pageScroll}; }

private:
    std::shared_ptr<const SMediaProperties> m_properties;
};

/// A medium's playback position and state.
struct SMediaPlayData {
    std::int64_t currentTime = 0; ///< milliseconds
    int mediaState = 0;           ///< the host's number
};
