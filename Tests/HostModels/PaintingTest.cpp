#include "HostModels/Pictures/Painting.h"

#include "ExternalController/Common/ResourceType.h"
#include "Support/ShowBuilder.h"

#include <QColor>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <set>
#include <thread>
#include <vector>

namespace {

class PaintingTest : public testing::Test {
protected:
    PaintingTest()
    {
        m_show.projects.push_back(std::make_shared<const SProject>());
        AddScreen({0, 0, 400, 300});
    }

    void AddScreen(const QRect& place, bool open = true, bool added = true)
    {
        SScreen screen = MakeScreen(1);
        screen.place = place;
        screen.open = open;
        screen.added = added;
        m_show.screens.push_back(std::make_shared<const SScreen>(screen));
    }

    QString Path(const QString& name) const { return m_folder.filePath(name); }

    /// Red, green, blue and yellow quarters, clockwise from the top left.
    QString FourColours() const
    {
        QImage picture(40, 20, QImage::Format_RGB32);
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 40; ++x)
                picture.setPixelColor(x, y, y < 10 ? (x < 20 ? Qt::red : Qt::green) : (x < 20 ? Qt::yellow : Qt::blue));
        }
        EXPECT_TRUE(picture.save(Path("four.png")));
        return Path("four.png");
    }

    static SResource Resource(int type, const QString& path = {})
    {
        return MakeResource({QUuid::createUuid(), type, "A name", path, {}, true, 0, 0});
    }

    /// Adds a medium with a new resource on top of the scene.
    CMediaNode Add(const SResource& resource, SLayoutProperty layout, int page = 0)
    {
        SProject project = *m_show.projects[0];
        project.Add(resource);
        m_show.projects[0] = std::make_shared<const SProject>(project);
        layout.corners = CornersOf(layout);
        m_scene.media.push_back(MakeMedium(1, resource, [&](SMediaProperties& medium) {
            medium.layout = layout;
            medium.play.currentState = page;
        }));
        return m_scene.media.back();
    }

    QImage Stage() const { return Painting::PaintStage(m_show, m_scene); }
    QImage Medium(const CMediaNode& medium) const { return Painting::PaintMedium(*m_show.Project(), medium); }

    QTemporaryDir m_folder;
    SShow m_show;
    SScene m_scene;
};

SLayoutProperty At(const QPointF& position, const QSize& size)
{
    SLayoutProperty layout;
    layout.position = position;
    layout.size = size;
    return layout;
}

/// Returns the colours just inside the corners, clockwise from the top left.
std::vector<QColor> CornerColours(const QImage& image)
{
    const int right = image.width() - 3;
    const int bottom = image.height() - 3;
    return {image.pixelColor(2, 2), image.pixelColor(right, 2), image.pixelColor(right, bottom),
            image.pixelColor(2, bottom)};
}

const std::vector<QColor> kFourColours = {Qt::red, Qt::green, Qt::blue, Qt::yellow};

} // namespace

TEST_F(PaintingTest, ARotatedMediumIsPaintedAtItsCorners)
{
    SLayoutProperty layout = At({100, 100}, {200, 100});
    layout.rotation = 30;
    Add(Resource(ResourceType::Picture, FourColours()), layout);
    const auto corners = CornersOf(layout);
    const QPointF centre = (corners[0] + corners[2]) / 2;

    const QImage stage = Stage();

    ASSERT_EQ(stage.size(), QSize(400, 300));
    for (std::size_t i = 0; i < corners.size(); ++i) {
        EXPECT_EQ(stage.pixelColor((centre + (corners[i] - centre) * 0.95).toPoint()), kFourColours[i]) << i;
        EXPECT_EQ(stage.pixelColor((centre + (corners[i] - centre) * 1.05).toPoint()), QColor(Qt::black)) << i;
    }
}

TEST_F(PaintingTest, FlipsArePaintedOnTheMediumAndOnTheStage)
{
    SLayoutProperty layout = At({0, 0}, {400, 200});
    layout.horFlip = true;
    const CMediaNode mirrored = Add(Resource(ResourceType::Picture, FourColours()), layout);
    layout.verFlip = true;
    const CMediaNode both = Add(Resource(ResourceType::Picture, FourColours()), layout);

    EXPECT_EQ(CornerColours(Medium(mirrored)), (std::vector<QColor>{Qt::green, Qt::red, Qt::yellow, Qt::blue}));
    EXPECT_EQ(CornerColours(Medium(both)), (std::vector<QColor>{Qt::blue, Qt::yellow, Qt::red, Qt::green}));
    EXPECT_EQ(CornerColours(Stage().copy(0, 0, 400, 200)), CornerColours(Medium(both)));
    EXPECT_EQ(Stage().pixelColor(2, 202), QColor(Qt::black));
}

TEST_F(PaintingTest, TransparencyIsPreserved)
{
    QImage picture(50, 50, QImage::Format_ARGB32);
    picture.fill(QColor(255, 0, 0, 128));
    ASSERT_TRUE(picture.save(Path("glass.png")));
    const SResource glass = Resource(ResourceType::Picture, Path("glass.png"));
    const CMediaNode medium = Add(glass, At({0, 0}, {200, 200}));

    EXPECT_EQ(Medium(medium).pixelColor(100, 100), QColor(255, 0, 0, 128));
    const QImage thumbnail = Painting::PaintResource(glass, {320, 180});
    EXPECT_EQ(thumbnail.pixelColor(160, 90), QColor(255, 0, 0, 128));
    EXPECT_EQ(thumbnail.pixelColor(20, 90).alpha(), 0) << "beside a square picture";
    EXPECT_NEAR(Stage().pixelColor(100, 100).red(), 128, 1);
}

TEST_F(PaintingTest, AHiddenMediumIsNotPaintedAndTheLastOneIsOnTop)
{
    const auto cover = [&](const QColor& colour, bool hidden) {
        SResource text = Resource(ResourceType::Text);
        text.text.hasBackColor = true;
        text.text.backColor = colour;
        SLayoutProperty layout = At({100, 100}, {100, 100});
        layout.hidden = hidden;
        Add(text, layout);
    };
    cover(Qt::green, false);
    cover(Qt::blue, false);
    cover(Qt::red, true);

    EXPECT_EQ(Stage().pixelColor(150, 150), QColor(Qt::blue));
}

TEST_F(PaintingTest, TheStageHasTheAreaOfItsScreensAndTheGlobalEffect)
{
    AddScreen({-100, 0, 100, 300}, false);
    AddScreen({5000, 0, 100, 300}, true, false);
    Add(Resource(ResourceType::Picture, FourColours()), At({-100, 0}, {500, 300}));

    const QImage stage = Stage();
    EXPECT_EQ(stage.size(), QSize(500, 300));
    EXPECT_LT(stage.pixelColor(2, 2).red(), 128);
    EXPECT_EQ(stage.pixelColor(110, 2), QColor(Qt::red));

    m_show.effect.luminance = 0.5F;
    EXPECT_NEAR(Stage().pixelColor(110, 2).red(), 128, 1);
    m_show.effect.black = true;
    QImage black(stage.size(), stage.format());
    black.fill(Qt::black);
    EXPECT_EQ(Stage(), black);
    m_show.screens.clear();
    EXPECT_EQ(Stage().size(), QSize(1920, 1080));
}

TEST_F(PaintingTest, AHugeSizeIsScaledDownProportionally)
{
    m_show.screens.clear();
    AddScreen({0, 0, 1000000, 500000});
    SLayoutProperty layout = At({0, 0}, {1000000, 500000});
    const CMediaNode picture = Add(Resource(ResourceType::Picture, FourColours()), layout);
    const CMediaNode strip = Add(Resource(ResourceType::Clock), At({0, 0}, {1000000, 1}));
    layout.rotation = 180;
    Add(Resource(ResourceType::Picture, FourColours()), layout);

    for (const QImage& image : {Medium(picture), Stage()}) {
        EXPECT_LE(image.width() * image.height(), Painting::kMaxPixels);
        EXPECT_NEAR(image.width(), 2 * image.height(), 2);
    }
    EXPECT_EQ(CornerColours(Medium(picture)), kFourColours);
    EXPECT_EQ(CornerColours(Stage()), (std::vector<QColor>{Qt::blue, Qt::yellow, Qt::red, Qt::green}));
    EXPECT_EQ(Medium(strip).size(), QSize(Painting::kMaxSide, 1));
}

TEST_F(PaintingTest, AFileThatIsNotAPictureOrIsTooLargeIsPaintedAsACard)
{
    QFile garbage(Path("garbage.png"));
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    garbage.write("\x89PNG and no more");
    garbage.close();
    QImage bomb(8001, 8001, QImage::Format_Mono);
    bomb.fill(1);
    ASSERT_TRUE(bomb.save(Path("bomb.png")));
    // 10000 by 10000, with one frame of 1 by 1.
    QFile gif(Path("screen.gif"));
    ASSERT_TRUE(gif.open(QIODevice::WriteOnly));
    gif.write(QByteArray::fromHex("474946383961102710278000000000 00ffffff2c00000000010001000002024401003b"));
    gif.close();
    QFile other(Path("other.png"));
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write("P1 1 1 1\n");
    other.close();
    const QImage card = Painting::PaintResource(Resource(ResourceType::Picture), {320, 180});

    for (const char* name : {"garbage.png", "bomb.png", "screen.gif", "other.png", "missing.png", ""})
        EXPECT_EQ(Painting::PaintResource(Resource(ResourceType::Picture, Path(name)), {320, 180}), card) << name;
    EXPECT_NE(Painting::PaintResource(Resource(ResourceType::Video), {320, 180}), card);
    const SResource waiting =
        MakeResource({QUuid::createUuid(), ResourceType::Picture, "A name", FourColours(), {}, false, 0, 0});
    EXPECT_EQ(Painting::PaintResource(waiting, {320, 180}), card) << "not ready";
}

TEST_F(PaintingTest, AFileThatChangesIsReadAgain)
{
    const SResource resource = Resource(ResourceType::Picture, Path("changing.png"));
    const auto shown = [&] { return Painting::PaintResource(resource, {90, 90}).pixelColor(45, 45); };
    QImage picture(30, 30, QImage::Format_RGB32);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(Path("changing.png")));
    EXPECT_EQ(shown(), QColor(Qt::red));

    picture = QImage(300, 300, QImage::Format_RGB32);
    picture.fill(Qt::green);
    ASSERT_TRUE(picture.save(Path("changing.png")));
    EXPECT_EQ(shown(), QColor(Qt::green));
    ASSERT_TRUE(QFile::remove(Path("changing.png")));
    EXPECT_NE(shown(), QColor(Qt::green));
}

TEST_F(PaintingTest, ATextIsPaintedAccordingToItsAlignment)
{
    for (const int alignment : {TextAlignment::Left, TextAlignment::Centre, TextAlignment::Right}) {
        SResource text = Resource(ResourceType::Text);
        text.text.text = "III";
        text.text.font.setPixelSize(40);
        text.text.textColor = Qt::red;
        text.text.horAlignment = alignment;
        const QImage image = Medium(Add(text, At({0, 0}, {300, 60})));

        std::set<int> redThirds;
        for (int x = 0; x < 300; ++x) {
            if (image.pixelColor(x, 30) == QColor(Qt::red))
                redThirds.insert(x / 100);
        }
        EXPECT_THAT(redThirds, testing::ElementsAre(alignment));
    }
}

TEST_F(PaintingTest, TheCardOfADocumentShowsItsPage)
{
    SResource document = Resource(ResourceType::Presentation);
    document.pages = 5;

    EXPECT_NE(Medium(Add(document, At({0, 0}, {320, 180}), 1)), Medium(Add(document, At({0, 0}, {320, 180}), 2)));
}

TEST_F(PaintingTest, ManyThreadsPaintTheSame)
{
    SResource text = Resource(ResourceType::Text);
    text.text.text = "Eröffnung";
    Add(Resource(ResourceType::Picture, FourColours()), At({0, 0}, {400, 300}));
    Add(Resource(ResourceType::Group), At({20, 20}, {160, 90}));
    Add(text, At({200, 100}, {180, 90}));
    const QImage expected = Stage();
    ASSERT_TRUE(QFile::copy(FourColours(), Path("new.png")));
    std::atomic<int> different{0};

    const auto paint = [&] {
        // Not read by any thread yet: all threads request it at once.
        const SResource picture = Resource(ResourceType::Picture, Path("new.png"));
        for (int k = 0; k < 20; ++k) {
            different += Stage() != expected;
            different += Painting::PaintResource(picture, {40, 20}).pixelColor(2, 2) != QColor(Qt::red);
        }
    };

    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads)
        thread = std::thread(paint);
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(different, 0);
}
