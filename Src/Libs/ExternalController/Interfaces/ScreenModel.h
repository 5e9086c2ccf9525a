#pragma once

#include <QJsonObject>
#include <QList>
#include <QRectF>
#include <QString>
#include <QUuid>

#include <cstdint>
#include <memory>
#include <vector>

/// A screen of the stage. A state that doesn't change any more: the model hands out a new one.
class IScreenItem {
public:
    virtual ~IScreenItem() = default;

    virtual QUuid GetId() const = 0;
    virtual QString GetName() const = 0;
    // Place on the stage, in pixels.
    virtual int GetPosX() const = 0;
    virtual int GetPosY() const = 0;
    virtual int GetWidth() const = 0;
    virtual int GetHeight() const = 0;
    virtual std::uint8_t GetState() const = 0; ///< the host's number
    virtual bool IsOpen() const = 0;
    /// Whether it takes part in the show.
    virtual bool IsAdded() const = 0;
    virtual bool IsUseful() const = 0;
    virtual int GetDivisionType() const = 0; ///< the host's number
    /// The parts that the screen is divided into, in pixels of the screen; none when it is whole.
    virtual QList<QRectF> GetDivisionRects() const = 0;
};

/// The stage's screens. Safe to call from any thread.
class CScreenModel {
public:
    static CScreenModel* GetInstance();
    virtual ~CScreenModel() = default;

    virtual std::vector<std::shared_ptr<const IScreenItem>> GetAllScreen() = 0;
    /// All of it, as the project's file holds it.
    virtual QJsonObject SaveData() = 0;
};
