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

// What the host has loaded. Everything that a list holds by shared pointer stays as it is once it is in a show: an edit
// puts another in its place, so that a copy of a show costs pointers alone.

/// The corners of a medium that is turned about its centre.
std::array<QPointF, 4> CornersOf(const SLayoutProperty& layout);

struct SScene {
    CSceneNode node;
    std::vector<CMediaNode> media; ///< the lowest first
    // Once a group has the scene.
    QHash<QUuid, std::size_t> mediaIndex = {}; ///< place in media
    QHash<QUuid, int> useCounts = {};          ///< how many media show a resource

    const CMediaNode* FindMedia(const QUuid& mediaId) const;
};

struct SSceneGroup {
    QUuid id;
    QString name;
    std::vector<std::shared_ptr<const SScene>> scenes;
    QHash<QUuid, std::size_t> sceneIndex; ///< place in scenes; of an id that comes twice the first

    const SScene* FindScene(const QUuid& sceneId) const;
    void Add(SScene scene);
};

/// A text's alignment in its lines.
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
    int pages = 1;                         ///< of a presentation
    int groupType = 0;                     ///< of a group
    STextProperties text;                  ///< of a text
    std::optional<SScrollSettings> scroll; ///< what its media have in common, if anything
};

struct SProject {
    QUuid id;
    QString name;
    int appControlMode = 0;
    QString stageZoomRatio = QStringLiteral("100%");
    bool hdr = false;
    int hdrKind = 0; ///< 1: software
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

/// What plays, and how far it is.
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
    int globalState = Stopped;                 ///< what remotes are told of it
    std::chrono::milliseconds playedBefore{0}; ///< how far it was when it was last started or stopped
    Clock::time_point since;                   ///< when it was started, while it is playing
    float leftVolume = 1;
    float rightVolume = 1;

    /// How far the scene is at a time.
    std::chrono::milliseconds PositionAt(Clock::time_point now) const;
    /// Goes on, or stays, in another state from the position at that time.
    void Enter(State next, Clock::time_point now);
};

struct SShow {
    QString file;
    QString name;
    std::vector<std::shared_ptr<const SProject>> projects;
    std::size_t openProject = 0; ///< place in projects; with no projects none is open
    std::vector<std::shared_ptr<const SScreen>> screens;
    SEffect effect;
    SPlayback playback;

    /// Null when none is open.
    const SProject* Project() const;
    /// Null when none plays that the open project has.
    const SScene* CurrentScene() const;
    const CMediaNode* FindStageMedia(const QUuid& mediaId) const;
    /// How many media on the stage use each resource; those that none uses are left out.
    QHash<QUuid, int> UseCounts() const;
};
