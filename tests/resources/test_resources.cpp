#include "tests/support/Text.h"

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <QResource>
#include <QtTest>

#include <cmath>

/// The bundle: its files, how they are stored, and pictures that fit their places.
class ResourcesTest : public QObject
{
    Q_OBJECT

private slots:
    void bundle_holdsTheListedFilesAndNothingElse();
    void bundle_listsFilesInOrder();
    void file_isStoredAsListed_data();
    void file_isStoredAsListed();
    void file_carriesTheTimeOfItsLastChange_data();
    void file_carriesTheTimeOfItsLastChange();
    void file_isTheOneOfTheSourceFolder_data();
    void file_isTheOneOfTheSourceFolder();
    void bundle_isWrittenInFormatThree();
    void background_unpacksByItself();
    void picture_hasTheSizeOfItsPlace_data();
    void picture_hasTheSizeOfItsPlace();
    void picture_standsOutFromItsBackground_data();
    void picture_standsOutFromItsBackground();
    void face_leavesItsCaptionLegible_data();
    void face_leavesItsCaptionLegible();
    void languageButtons_meetInTheMiddle_data();
    void languageButtons_meetInTheMiddle();
    void languageButton_showsWhichLanguageIsOn();
    void stretchedKey_keepsItsPlainEdges_data();
    void stretchedKey_keepsItsPlainEdges();
    void lamps_differ();
    void everyPicture_hasItsDrawing();
    void everySign_hasItsDrawingAndStandsOnWhite();
};

namespace {

enum class Storage { Plain, Compressed };

struct BundledFile
{
    const char* path;
    Storage storage;
};

/// In the order of the bundle's tree.
const BundledFile bundledFiles[] = {
    {":/Languages/Translate_CN.qm", Storage::Plain},
    {":/Languages/Translate_CN.ts", Storage::Compressed},
    {":/Languages/Translate_EN.qm", Storage::Plain},
    {":/Languages/Translate_EN.ts", Storage::Compressed},
    {":/Resources/time.png", Storage::Plain},
    {":/Resources/udisk.png", Storage::Plain},
    {":/Resources/buzzer.png", Storage::Plain},
    {":/Resources/version.png", Storage::Plain},
    {":/Resources/button_down.png", Storage::Plain},
    {":/Resources/setting_white.png", Storage::Plain},
    {":/Resources/switch_on.png", Storage::Plain},
    {":/Resources/plus.png", Storage::Plain},
    {":/Resources/button_up.png", Storage::Plain},
    {":/Resources/auto_backlight_off.png", Storage::Plain},
    {":/Resources/setting_blue.png", Storage::Plain},
    {":/Resources/minus.png", Storage::Plain},
    {":/Resources/network.png", Storage::Plain},
    {":/Resources/network1.png", Storage::Plain},
    {":/Resources/close.png", Storage::Plain},
    {":/Resources/background.png", Storage::Compressed},
    {":/Resources/sd.png", Storage::Plain},
    {":/Resources/left_selected.png", Storage::Plain},
    {":/Resources/titleBar.png", Storage::Plain},
    {":/Resources/k.lamp0_00.png", Storage::Plain},
    {":/Resources/k.lamp0_01.png", Storage::Plain},
    {":/Resources/k.lamp0_02.png", Storage::Plain},
    {":/Resources/restart.png", Storage::Plain},
    {":/Resources/inital_window.png", Storage::Plain},
    {":/Resources/right_selected.png", Storage::Plain},
    {":/Resources/switch_off.png", Storage::Plain},
    {":/Resources/file_manager.png", Storage::Plain},
    {":/Resources/enter_up.png", Storage::Plain},
    {":/Resources/left_unselected.png", Storage::Plain},
    {":/Resources/scrollbar.png", Storage::Plain},
    {":/Resources/setting_button.png", Storage::Plain},
    {":/Resources/brightness.png", Storage::Plain},
    {":/Resources/enter_down.png", Storage::Plain},
    {":/Resources/right_unselected.png", Storage::Plain},
    {":/Resources/wifi.png", Storage::Plain},
};

struct Picture
{
    const char* name;
    QSize size;
    /// What it is drawn on; an invalid colour for a face, which has captions on it instead.
    QColor background;
};

const QColor page(246, 246, 246);
const QColor bar(240, 240, 240);
const QColor titleBar(96, 157, 191);
const QColor none;

const Picture pictures[] = {
    {"time", {27, 27}, page},
    {"udisk", {27, 27}, page},
    {"buzzer", {27, 27}, page},
    {"version", {27, 27}, bar},
    {"button_down", {100, 60}, none},
    {"setting_white", {27, 27}, titleBar},
    {"switch_on", {70, 30}, page},
    {"plus", {40, 40}, page},
    {"button_up", {100, 60}, none},
    {"auto_backlight_off", {27, 27}, page},
    {"setting_blue", {27, 27}, bar},
    {"minus", {40, 40}, page},
    {"network", {27, 27}, bar},
    {"network1", {27, 27}, titleBar},
    {"close", {40, 40}, titleBar},
    {"background", {16, 64}, none},
    {"sd", {27, 27}, page},
    {"left_selected", {80, 40}, none},
    {"titleBar", {464, 50}, none},
    {"k.lamp0_00", {30, 30}, page},
    {"k.lamp0_01", {30, 30}, page},
    {"k.lamp0_02", {30, 30}, page},
    {"restart", {27, 27}, bar},
    {"inital_window", {27, 27}, page},
    {"right_selected", {80, 40}, none},
    {"switch_off", {70, 30}, page},
    {"file_manager", {27, 27}, bar},
    {"enter_up", {210, 60}, none},
    {"left_unselected", {80, 40}, none},
    {"scrollbar", {20, 60}, page},
    {"setting_button", {100, 40}, none},
    {"brightness", {27, 27}, page},
    {"enter_down", {210, 60}, none},
    {"right_unselected", {80, 40}, none},
    {"wifi", {27, 27}, bar},
};

/// Faces with a caption in white, which the panel reads at arm's length.
const char* const captionFaces[] = {
    "button_up",     "button_down",     "enter_up",       "enter_down",       "setting_button",
    "left_selected", "left_unselected", "right_selected", "right_unselected", "titleBar",
};

QString picturePath(const char* name)
{
    return ":/Resources/%1.png"_s.arg(QLatin1String(name));
}

QImage image(const char* name)
{
    return QImage(picturePath(name)).convertToFormat(QImage::Format_ARGB32);
}

QStringList listedPaths()
{
    QStringList paths;
    for (const BundledFile& file : bundledFiles) {
        paths << QLatin1String(file.path);
    }
    return paths;
}

/// Every file below ":/", Qt's own bundles included, in the order of the tree.
QStringList allFiles()
{
    QStringList paths;
    QDirIterator files(":/"_s, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        paths << files.next();
    }
    return paths;
}

QStringList filesOf(const QString& folder)
{
    QStringList paths;
    for (const QString& name : QDir(folder).entryList(QDir::Files, QDir::Unsorted)) {
        paths << folder + QLatin1Char('/') + name;
    }
    return paths;
}

/// Names without suffix of the files of a folder of the sources, sorted.
QStringList namesIn(const QString& folder, const QString& pattern)
{
    QStringList names;
    const QDir files(QStringLiteral(SOURCE_FOLDER) + folder);
    for (const QFileInfo& file : files.entryInfoList({pattern}, QDir::Files, QDir::Name)) {
        names << file.completeBaseName();
    }
    return names;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double linear(int channel)
{
    const double value = channel / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour)
{
    return 0.2126 * linear(colour.red()) + 0.7152 * linear(colour.green()) +
           0.0722 * linear(colour.blue());
}

/// Contrast of two colours, 1 (none) to 21 (black on white).
double contrast(const QColor& one, const QColor& other)
{
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

/// Share of the picture's pixels that stand out from @p background at least as @p least.
double shareStandingOut(const QImage& picture, const QColor& background, double least)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor pixel = picture.pixelColor(x, y);
            count += pixel.alpha() == 255 && contrast(pixel, background) >= least;
        }
    }
    return double(count) / (picture.width() * picture.height());
}

/// Number of rows in which the picture's pixel at @p column differs from @p other's.
int rowsThatDiffer(const QImage& one, int column, const QImage& other, int otherColumn)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        count += one.pixel(column, y) != other.pixel(otherColumn, y);
    }
    return count;
}

bool isOpaqueColumn(const QImage& picture, int column)
{
    for (int y = 0; y < picture.height(); ++y) {
        if (qAlpha(picture.pixel(column, y)) != 255) {
            return false;
        }
    }
    return true;
}

void listFiles()
{
    QTest::addColumn<QString>("path");
    for (const BundledFile& file : bundledFiles) {
        QTest::newRow(file.path) << QString::fromLatin1(file.path);
    }
}

} // namespace

void ResourcesTest::bundle_holdsTheListedFilesAndNothingElse()
{
    // What goes with the collection is what it holds; the rest belongs to Qt.
    const QStringList with = allFiles();
    Q_CLEANUP_RESOURCE(SettingsResource);
    const QStringList without = allFiles();
    Q_INIT_RESOURCE(SettingsResource);

    QStringList held = with;
    for (const QString& path : without) {
        held.removeAll(path);
    }
    QStringList listed = listedPaths();
    QCOMPARE(listed.size(), 39);
    held.sort();
    listed.sort();
    QCOMPARE(held, listed);
    QCOMPARE(allFiles().size(), with.size());
}

void ResourcesTest::bundle_listsFilesInOrder()
{
    QCOMPARE(filesOf(":/Languages"_s) + filesOf(":/Resources"_s), listedPaths());
}

void ResourcesTest::file_isStoredAsListed_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("compressed");
    for (const BundledFile& file : bundledFiles) {
        QTest::newRow(file.path) << QString::fromLatin1(file.path)
                                 << (file.storage == Storage::Compressed);
    }
}

void ResourcesTest::file_isStoredAsListed()
{
    QFETCH(QString, path);
    QFETCH(bool, compressed);
    const QResource resource(path);
    QVERIFY(resource.isValid());
    QCOMPARE(resource.compressionAlgorithm(),
             compressed ? QResource::ZlibCompression : QResource::NoCompression);
    QCOMPARE(resource.size() < resource.uncompressedSize(), compressed);
}

void ResourcesTest::file_carriesTheTimeOfItsLastChange_data()
{
    listFiles();
}

void ResourcesTest::file_carriesTheTimeOfItsLastChange()
{
    QFETCH(QString, path);
    QVERIFY(QResource(path).lastModified().isValid());
}

void ResourcesTest::file_isTheOneOfTheSourceFolder_data()
{
    QTest::addColumn<QString>("path");
    for (const BundledFile& file : bundledFiles) {
        // The compiled translations exist in the build folder only.
        if (!QByteArray(file.path).endsWith(".qm")) {
            QTest::newRow(file.path) << QString::fromLatin1(file.path);
        }
    }
}

void ResourcesTest::file_isTheOneOfTheSourceFolder()
{
    QFETCH(QString, path);
    const QByteArray original = contentOf(QStringLiteral(SOURCE_FOLDER) + path.mid(1));
    QVERIFY(!original.isEmpty());
    QVERIFY(contentOf(path) == original);
}

void ResourcesTest::bundle_isWrittenInFormatThree()
{
    const QString source = QString::fromUtf8(contentOf(QStringLiteral(GENERATED_SOURCE)));
    const QRegularExpression call(
        R"(int version = (\d+);\s+\S+\(qRegisterResourceData\)\s*\(version,)"_s);
    QCOMPARE(call.match(source).captured(1), "3"_s);
}

void ResourcesTest::background_unpacksByItself()
{
    const QString path = picturePath("background");
    const QResource resource(path);
    QCOMPARE(qint64(contentOf(path).size()), resource.uncompressedSize());
    QVERIFY(contentOf(path).startsWith("\x89PNG"));
    QVERIFY(!QImage(path).isNull());
}

void ResourcesTest::picture_hasTheSizeOfItsPlace_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    for (const Picture& picture : pictures) {
        QTest::newRow(picture.name) << picturePath(picture.name) << picture.size;
    }
    QCOMPARE(std::size(pictures), std::size_t{35});
}

void ResourcesTest::picture_hasTheSizeOfItsPlace()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
    QCOMPARE(QImage(path).size(), size);
}

void ResourcesTest::picture_standsOutFromItsBackground_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QColor>("background");
    for (const Picture& picture : pictures) {
        if (picture.background.isValid()) {
            QTest::newRow(picture.name) << picturePath(picture.name) << picture.background;
        }
    }
}

void ResourcesTest::picture_standsOutFromItsBackground()
{
    QFETCH(QString, path);
    QFETCH(QColor, background);
    // White on the title bar's blue reaches 2.97. Lamps are bright glass in a dark ring.
    const double least = background == titleBar ? 2.9 : 3.0;
    const QImage picture = QImage(path).convertToFormat(QImage::Format_ARGB32);
    const double share = shareStandingOut(picture, background, least);
    // The thinnest of the icons covers a seventh of its square with full strokes.
    QVERIFY2(share > 0.14, qPrintable(QString::number(share)));
}

void ResourcesTest::face_leavesItsCaptionLegible_data()
{
    QTest::addColumn<QString>("path");
    for (const char* name : captionFaces) {
        QTest::newRow(name) << picturePath(name);
    }
}

void ResourcesTest::face_leavesItsCaptionLegible()
{
    QFETCH(QString, path);
    const QImage face = QImage(path).convertToFormat(QImage::Format_ARGB32);
    const QRect caption = face.rect().adjusted(8, 8, -8, -8);
    QVERIFY(shareStandingOut(face.copy(caption), Qt::white, 4.5) == 1.0);
}

void ResourcesTest::languageButtons_meetInTheMiddle_data()
{
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<QByteArray>("right");
    QTest::newRow("left one on") << QByteArray("left_selected") << QByteArray("right_unselected");
    QTest::newRow("right one on") << QByteArray("left_unselected") << QByteArray("right_selected");
}

void ResourcesTest::languageButtons_meetInTheMiddle()
{
    QFETCH(QByteArray, left);
    QFETCH(QByteArray, right);
    const QImage leftFace = image(left.constData());
    const QImage rightFace = image(right.constData());
    QVERIFY(isOpaqueColumn(leftFace, leftFace.width() - 1));
    QVERIFY(isOpaqueColumn(rightFace, 0));
    QCOMPARE(qAlpha(leftFace.pixel(0, 0)), 0);
    QCOMPARE(qAlpha(rightFace.pixel(rightFace.width() - 1, 0)), 0);
}

void ResourcesTest::languageButton_showsWhichLanguageIsOn()
{
    for (const char* side : {"left", "right"}) {
        const QImage on = image((QByteArray(side) + "_selected").constData());
        const QImage off = image((QByteArray(side) + "_unselected").constData());
        QVERIFY(contrast(on.pixelColor(40, 20), off.pixelColor(40, 20)) > 1.5);
    }
}

void ResourcesTest::stretchedKey_keepsItsPlainEdges_data()
{
    QTest::addColumn<QString>("path");
    for (const char* name : {"button_up", "button_down", "setting_button", "titleBar"}) {
        QTest::newRow(name) << picturePath(name);
    }
}

/// A face stretched in width shows every column wider: past its corners all columns are alike.
void ResourcesTest::stretchedKey_keepsItsPlainEdges()
{
    QFETCH(QString, path);
    const QImage face = QImage(path).convertToFormat(QImage::Format_ARGB32);
    for (int column = 6; column < face.width() - 6; ++column) {
        QCOMPARE(rowsThatDiffer(face, column, face, face.width() / 2), 0);
    }
}

void ResourcesTest::lamps_differ()
{
    const QColor idle = image("k.lamp0_00").pixelColor(18, 18);
    const QColor good = image("k.lamp0_01").pixelColor(18, 18);
    const QColor running = image("k.lamp0_02").pixelColor(18, 18);
    QVERIFY(idle.saturation() < 40);
    QVERIFY(good.saturation() > 150 && good.hue() > 90 && good.hue() < 150);
    QVERIFY(running.saturation() > 150 && running.hue() > 25 && running.hue() < 60);
}

void ResourcesTest::everyPicture_hasItsDrawing()
{
    QStringList drawn;
    for (const QFileInfo& drawing : QDir(SOURCE_FOLDER "/artwork"_s).entryInfoList({"*.svg"_s})) {
        drawn << ":/Resources/%1.png"_s.arg(drawing.completeBaseName());
    }
    QStringList bundled = filesOf(":/Resources"_s);
    drawn.sort();
    bundled.sort();
    QCOMPARE(drawn, bundled);
}

void ResourcesTest::everySign_hasItsDrawingAndStandsOnWhite()
{
    const QStringList drawn = namesIn("/artwork/signs"_s, "*.svg"_s);
    QCOMPARE(drawn, namesIn("/Signs"_s, "*.png"_s));
    QCOMPARE(drawn, QStringList({"critical"_s, "information"_s}));
    for (const QString& name : drawn) {
        const QImage sign(SOURCE_FOLDER "/Signs/%1.png"_s.arg(name));
        QCOMPARE(sign.size(), QSize(40, 40));
        QVERIFY(contrast(sign.pixelColor(8, 20), Qt::white) >= 4.5);
        QCOMPARE(sign.pixelColor(20, 20), QColor(Qt::white));
    }
}

QTEST_GUILESS_MAIN(ResourcesTest)
#include "test_resources.moc"
