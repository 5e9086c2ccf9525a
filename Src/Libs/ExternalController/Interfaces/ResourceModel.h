#pragma once

#include <QColor>
#include <QFont>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPixmap>
#include <QSize>
#include <QString>
#include <QUuid>

#include <cstdint>
#include <memory>
#include <utility>

/// The properties of a resource.
struct SResourceProperties {
    QUuid id;
    int type = 0;
    QString name;
    QString path;
    QSize resolution; ///< pixels
    bool demuxered = false;
    std::int64_t duration = 0; ///< milliseconds
    int useCount = 0;
};

/// A media resource. Copies share its properties.
class CResourceBase {
public:
    CResourceBase() : CResourceBase(std::make_shared<const SResourceProperties>()) {}
    explicit CResourceBase(std::shared_ptr<const SResourceProperties> properties) : m_properties(std::move(properties))
    {}

    const QUuid& GetId() const { return m_properties->id; }
    int GetType() const { return m_properties->type; }
    const QString& GetName() const { return m_properties->name; }
    const QString& GetPath() const { return m_properties->path; }
    const QSize& GetResolution() const { return m_properties->resolution; }
    /// Whether its streams have been demultiplexed: it can play.
    bool GetResDemuxered() const { return m_properties->demuxered; }
    std::int64_t GetDuration() const { return m_properties->duration; }
    /// Null if the resource has no thumbnail.
    QPixmap GetThumbnail() const;
    int GetResourceUseCount() const { return m_properties->useCount; }

private:
    std::shared_ptr<const SResourceProperties> m_properties;
};

/// The additional properties of a group resource.
class CGroupResource {
public:
    explicit CGroupResource(int groupType = 0) : m_groupType(groupType) {}

    int GetGroupResType() const { return m_groupType; }

private:
    int m_groupType;
};

/// The additional properties of a text resource.
struct STextProperties {
    QFont font;
    int horAlignment = 0;
    QColor textColor = Qt::white;
    bool hasBackColor = false;
    QColor backColor = Qt::black;
    int showType = 0;
    int colorTextEffect = 0;
    QString text;
};

class CTextResource {
public:
    explicit CTextResource(STextProperties properties = {}) : m_properties(std::move(properties)) {}

    const QFont& GetFont() const { return m_properties.font; }
    int GetHorAlignment() const { return m_properties.horAlignment; }
    const QColor& GetTextColor() const { return m_properties.textColor; }
    bool HasBackColor() const { return m_properties.hasBackColor; }
    const QColor& GetBackColor() const { return m_properties.backColor; }
    int GetShowType() const { return m_properties.showType; }
    int GetColorTextEffect() const { return m_properties.colorTextEffect; }
    const QString& GetText() const { return m_properties.text; }

private:
    STextProperties m_properties;
};

/// Selects resources of every type.
constexpr int kEveryResourceType = -1;

/// The open project's media resources. It lives on the host's thread; its operations are safe to call from any thread.
class CResourceModel : public QObject {
    Q_OBJECT

public:
    static CResourceModel* GetInstance();

    /// The resources of one type or of every type, optionally with the host's own.
    virtual QList<CResourceBase> GetAllResNode(bool withHostsOwn, int type) = 0;
    // For an id that isn't a resource of that kind these return false and leave the records unchanged.
    virtual bool GetResourceBaseNode(const QUuid& id, CResourceBase& base) = 0;
    virtual bool GetGroupResourceNode(const QUuid& id, CResourceBase& base, CGroupResource& group) = 0;
    virtual bool GetTextResourceNode(const QUuid& id, CResourceBase& base, CTextResource& text) = 0;
    /// Null for an unknown id.
    virtual QPixmap GetAppThumbnail(const QUuid& id) = 0;
    /// The picture that represents files of the type.
    virtual QPixmap GetSharedResourceThumbnail(int type) = 0;
    /// All resources in the form of the project file, optionally with pictures and with the host's own resources.
    virtual QJsonObject SaveResourceModel(bool withPictures, bool withHostsOwn) = 0;

signals:
    void signalExControlResourceUsedChanged(const QUuid& resId, bool used);
    void signalExControlResourceDexumerStateChanged(const QUuid& resId, bool demuxed);
};
