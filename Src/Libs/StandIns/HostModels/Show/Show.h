#pragma once

#include "Interfaces/MediaNode.h"
#include "Interfaces/ResourceModel.h"
#include "Interfaces/SceneMgrModel.h"
#include "Interfaces/ScreenModel.h"

#include <QHash>
#include <QList>
#include <QRect>
#include <QString>
#include <QUuid>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

// The content of a show. Objects that lists hold by shared pointer are immutable: an edit replaces them. A copy of a
// show therefore copies only pointers.

/// The corners of a medium that is rotated about its centre: top left, top right, bottom right, bottom left.
std::array<QPointF, 4> CornersOf(const SLayoutProperty& layout);

struct SScene {
    CSceneNode node;
    std::vector<CMediaNode> media; ///< in stacking order, the lowest first
    // Filled by SSceneGroup::Add.
    QHash<QUuid, std::size_t> mediaIndex = {}; ///< index in media
    QHash<QUuid, int> useCounts = {};          ///< number of media per resource

    const CMediaNode* FindMedia(const QUuid& mediaId) const;
};

struct SSceneGroup {
    QUuid id;
    QString name;
    std::vector<std::shared_ptr<const SScene>> scenes;
    QHash<QUuid, std::size_t> sceneIndex; ///< index in scenes; the first one if an id occurs twice

    const SScene* FindScene(const QUuid& sceneId) const;
    void Add(SScene scene);
};

/// Horizontal alignment of a text.
namespace TextAlignment {
enum Alignment : int {
    Left = 0,
    Centre = 1,
    Right = 2,
    Last = Right,
};
} // namespace TextAlignment

struct SResource {
    CResourceBase base;
    bool fileFound = false;
    int pages = 1;                         ///< only for a presentation
    int groupType = 0;                     ///< only for a group
    STextProperties text;                  ///< only for a text
    std::optional<SScrollSettings> scroll; ///< scrolling of all its media, if they scroll together
};

struct SProject {
    QUuid id;
    QString name;
    int appControlMode = 0;
    QString stageZoomRatio = QStringLiteral("100%");
    bool hdr = false;
    int hdrKind = 0; ///< 0: hardware, 1: software
    QUuid mainGroup;
    std::vector<std::shared_ptr<const SSceneGroup>> groups;
    QHash<QUuid, std::size_t> groupIndex;
    std::vector<std::shared_ptr<const SResource>> resources;
    QHash<QUuid, std::size_t> resourceIndex;

    const SSceneGroup* FindGroup(const QUuid& groupId) const;
    const SScene* FindScene(const QUuid& groupId, const QUuid& sceneId) const;
    const SResource* ResourceById(const QUuid& resourceId) const;
    void Add(SSceneGroup group);
    void Add(SResource resource);
};

struct SScreen final : IScreenItem {
    QUuid id;
    QString name;
    QRect place;
    std::uint8_t state = 0;
    bool open = true;
    bool added = true;
    bool useful = true;
    int divisionType = 0;
    QList<QRectF> divisions;

    QUuid GetId() const override { return id; }
    QString GetName() const override { return name; }
    int GetPosX() const override { return place.x(); }
    int GetPosY() const override { return place.y(); }
    int GetWidth() const override { return place.width(); }
    int GetHeight() const override { return place.height(); }
    std::uint8_t GetState() const override { return state; }
    bool IsOpen() const override { return open; }
    bool IsAdded() const override { return added; }
    bool IsUseful() const override { return useful; }
    int GetDivisionType() const override { return divisionType; }
    QList<QRectF> GetDivisionRects() const override { return divisions; }
};

struct SEffect final : IEffectProperty {
    bool black = false;
    bool mute = false;
    float volume = 1;
    float blue = 0.5F;
    float red = 0.5F;
    float green = 0.5F;
    float contrast = 0.5F;
    float luminance = 1;
    float saturation = 0.5F;
    float hue = 0.5F;

    bool IsBlack() const override { return black; }
    bool IsMute() const override { return mute; }
    float GetVolume() const override { return volume; }
    float GetBlue() const override { return blue; }
    float GetRed() const override { return red; }
    float GetGreen() const override { return green; }
    float GetContrast() const override { return contrast; }
    float GetLuminance() const override { return luminance; }
    float GetSaturation() const override { return saturation; }
    float GetHue() const override { return hue; }
};

/// The current scene, its state and position.
struct SPlayback {
    enum State : int {
        Playing = 0,
        Paused = 1,
        Stopped = 2,
    };
    using Clock = std::chrono::steady_clock;

    QUuid group;
    QUuid scene;
    State state = Stopped;
    int globalState = Stopped;                 ///< the state that remotes get
    std::chrono::milliseconds playedBefore{0}; ///< position when the state last changed
    Clock::time_point since;                   ///< time of the last state change
    float leftVolume = 1;
    float rightVolume = 1;

    /// The position in the scene at a time.
    std::chrono::milliseconds PositionAt(Clock::time_point now) const;
    /// Changes the state at a time. The position is preserved, except that Stopped resets it to 0.
    void Enter(State next, Clock::time_point now);
};

struct SShow {
    QString file;
    QString name;
    std::vector<std::shared_ptr<const SProject>> projects;
    std::size_t openProject = 0; ///< index in projects; no project is open if the list is empty
    std::vector<std::shared_ptr<const SScreen>> screens;
    SEffect effect;
    SPlayback playback;

    /// The open project; null if no project is open.
    const SProject* Project() const;
    /// The current scene; null if there is none or if the open project doesn't contain it.
    const SScene* CurrentScene() const;
    /// The medium of the current scene with this id; null if not found.
    const CMediaNode* FindStageMedia(const QUuid& mediaId) const;
    /// The number of media of the current scene per resource. Unused resources are omitted.
    QHash<QUuid, int> UseCounts() const;
};
