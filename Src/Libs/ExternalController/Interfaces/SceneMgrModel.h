#pragma once

#include <QJsonObject>
#include <QPixmap>
#include <QString>
#include <QUuid>

#include <memory>
#include <utility>
#include <vector>

/// The effects that apply to the whole stage. Immutable: after a change the model returns another object.
class IEffectProperty {
public:
    virtual ~IEffectProperty() = default;

    virtual bool IsBlack() const = 0;
    virtual bool IsMute() const = 0;
    virtual float GetVolume() const = 0; ///< 0 to 1
    // Picture adjustment, each from 0 to 1 with a neutral value that the host defines.
    virtual float GetBlue() const = 0;
    virtual float GetRed() const = 0;
    virtual float GetGreen() const = 0;
    virtual float GetContrast() const = 0;
    virtual float GetLuminance() const = 0;
    virtual float GetSaturation() const = 0;
    virtual float GetHue() const = 0;
};

/// When a scene's device command is sent. A command with any other value is never sent.
namespace SceneTrigger {
enum Trigger : int {
    Start = 0,
    End = 1,
};
} // namespace SceneTrigger

/// A scene's command for an external control device.
struct SSceneExControlCmd {
    QString label;
    QUuid id; ///< of this entry
    QUuid devId;
    QUuid cmdId;
    int nTriggerType = SceneTrigger::Start;
    int reserved[2] = {0, 0}; ///< for the scene model
};

/// The properties of a scene.
struct SSceneProperties {
    QUuid id;
    QString name;
    int fadeInTime = 0;  ///< milliseconds
    int fadeOutTime = 0; ///< milliseconds
    std::vector<QUuid> mediaResourceIds;
    std::vector<SSceneExControlCmd> exControlCmds;
};

/// A scene. Copies share its properties.
class CSceneNode {
public:
    CSceneNode() : CSceneNode(std::make_shared<const SSceneProperties>()) {}
    explicit CSceneNode(std::shared_ptr<const SSceneProperties> properties) : m_properties(std::move(properties)) {}

    const QUuid& GetId() const { return m_properties->id; }
    const QString& GetName() const { return m_properties->name; }
    int GetFadeInTime() const { return m_properties->fadeInTime; }
    int GetFadeOutTime() const { return m_properties->fadeOutTime; }
    /// The resources of the scene's media, in stage order.
    const std::vector<QUuid>& GetAllMediaResourceId() const { return m_properties->mediaResourceIds; }
    /// Sets commands to the scene's, in the order in which they are sent.
    void GetAllExControlCmd(std::vector<SSceneExControlCmd>& commands) const { commands = m_properties->exControlCmds; }

private:
    std::shared_ptr<const SSceneProperties> m_properties;
};

/// The open project's scene groups and scenes. Safe to call from any thread. For an unknown id the results are empty.
class CSceneMgrModel {
public:
    static CSceneMgrModel* GetInstance();
    virtual ~CSceneMgrModel() = default;

    /// In the order in which the operator arranged them; so are the scenes of a group.
    virtual std::vector<QUuid> GetAllSceneGroupId() = 0;
    virtual std::vector<QUuid> GetGroupSceneId(const QUuid& groupId) = 0;
    virtual QString GetSceneGroupName(const QUuid& groupId) = 0;
    virtual CSceneNode GetSceneNode(const QUuid& groupId, const QUuid& sceneId) = 0;
    /// The stage as the scene shows it; null for an unknown scene.
    virtual QPixmap GetSceneImage(const QUuid& groupId, const QUuid& sceneId) = 0;
    /// The group and the scene that are playing, or null ids.
    virtual std::pair<QUuid, QUuid> GetCurPlayScene() = 0;
    /// The main scene group.
    virtual QUuid GetMainKVId() = 0;
    /// Null while no project is open.
    virtual std::shared_ptr<const IEffectProperty> GetGlobalProperty() = 0;
    /// All groups and scenes in the form of the project file. If a folder is given, pictures are written below it.
    virtual QJsonObject SaveSceneMgrModel(const QString& pictureFolder) = 0;
};
