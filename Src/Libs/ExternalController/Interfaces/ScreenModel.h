#pragma once

#include <QJsonObject>
#include <QList>
#include <QRectF>
#include <QString>
#include <QUuid>

#include <cstdint>
#include <memory>
#include <vector>

/// A screen of the stage. Immutable: after a change the model returns another object.
class IScreenItem {
public:
    virtual ~IScreenItem() = default;

    virtual QUuid GetId() const = 0;
    virtual QString GetName() const = 0;
    // Position and size on the stage, in pixels.
    virtual int GetPosX() const = 0;
    virtual int GetPosY() const = 0;
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;
    virtual std::uint8_t GetState() const = 0; ///< the host's number
    virtual bool IsOpen() const = 0;
    /// Whether it is part of the show.
    virtual bool IsAdded() const = 0;
    virtual bool IsUseful() const = 0;
    virtual int GetDivisionType() const = 0; ///< the host's number
    /// The parts that the screen is divided into, in pixels of the screen; empty if it isn't divided.
    virtual QList<QRectF> GetDivisionRects() const = 0;
};

/// The stage's screens. Safe to call from any thread.
class CScreenModel {
public:
    static CScreenModel* GetInstance();
    virtual ~CScreenModel() = default;

    virtual std::vector<std::shared_ptr<const IScreenItem>> GetAllScreen() = 0;
    /// All screens in the form of the project file.
    virtual QJsonObject SaveData() = 0;
};
