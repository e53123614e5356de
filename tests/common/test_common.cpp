#include "common/KeyBeep.h"
#include "common/Message.h"
#include "common/PanelFont.h"
#include "common/Translation.h"
#include "tests/support/Hands.h"
#include "tests/support/LanguageChanges.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QFontDatabase>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <QTranslator>

#include <memory>

namespace {

const QString longBeep = "/root/plat-intf/setbeep long"_s;
const QString fontFile = "/hmi/default.ttf"_s;

/// Counts how often a text is looked up in it.
class CountingTranslator : public QTranslator
{
public:
    mutable int lookups = 0;

    QString translate(const char* /*context*/, const char* /*text*/, const char* /*comment*/,
                      int /*n*/) const override
    {
        ++lookups;
        return QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

Q_DECLARE_METATYPE(QMessageBox::StandardButton)
Q_DECLARE_METATYPE(QMessageBox::Icon)

class TestCommon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void keyBeep_followsTheSettingsFile_data();
    void keyBeep_followsTheSettingsFile();
    void keyBeep_withoutSettings_isSilent();
    void keyBeep_readsWhatItWrites();
    void keyBeep_readsTheFileAtEveryPress();
    void font_isTheFirstFamilyOfTheId();
    void font_missingFile_isTheApplicationsDefault();
    void font_isRegisteredOnce();
    void font_droppedByTheHost_isRegisteredAgain();
    void translation_fileFollowsTheLanguage_data();
    void translation_fileFollowsTheLanguage();
    void translation_installedOftenIsLookedUpOnce();
    void translation_changeEventsAreStillSent();
    void translation_deletedTranslatorLeavesNothing();
    void message_showsWhatItIsGiven_data();
    void message_showsWhatItIsGiven();
};

void TestCommon::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestCommon::init()
{
    PanelWorld::clearCommands();
}

void TestCommon::keyBeep_followsTheSettingsFile_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("on");
    QTest::addColumn<bool>("off");
    QTest::newRow("on") << QVariant("on"_s) << true << false;
    QTest::newRow("off") << QVariant("off"_s) << false << true;
    QTest::newRow("absent") << QVariant() << false << false;
    QTest::newRow("empty") << QVariant(QString()) << false << false;
    QTest::newRow("another case") << QVariant("ON"_s) << false << false;
    QTest::newRow("true is not on") << QVariant(true) << false << false;
}

void TestCommon::keyBeep_followsTheSettingsFile()
{
    QFETCH(QVariant, value);
    QFETCH(bool, on);
    QFETCH(bool, off);
    QSettings settings("/tmp/beep.ini"_s, QSettings::IniFormat);
    settings.clear();
    if (value.isValid()) {
        settings.setValue("General/buzzer"_s, value);
    }
    QCOMPARE(KeyBeep::isOn(&settings), on);
    QCOMPARE(KeyBeep::isOff(&settings), off);
    KeyBeep::soundIfOn(&settings);
    QCOMPARE(PanelWorld::commands(), on ? QStringList({longBeep}) : QStringList());
}

void TestCommon::keyBeep_withoutSettings_isSilent()
{
    QVERIFY(!KeyBeep::isOn(nullptr));
    QVERIFY(!KeyBeep::isOff(nullptr));
    KeyBeep::store(nullptr, true);
    KeyBeep::soundIfOn(nullptr);
    QCOMPARE(PanelWorld::commands(), QStringList());
    KeyBeep::sound();
    QCOMPARE(PanelWorld::commands(), QStringList({longBeep}));
}

void TestCommon::keyBeep_readsWhatItWrites()
{
    QSettings settings("/tmp/beep.ini"_s, QSettings::IniFormat);
    for (const bool on : {true, false, true}) {
        KeyBeep::store(&settings, on);
        QCOMPARE(KeyBeep::isOn(&settings), on);
        QCOMPARE(KeyBeep::isOff(&settings), !on);
    }
}

void TestCommon::keyBeep_readsTheFileAtEveryPress()
{
    QSettings reader("/tmp/beep.ini"_s, QSettings::IniFormat);
    QSettings writer("/tmp/beep.ini"_s, QSettings::IniFormat);
    for (const char* value : {"on", "off", "on"}) {
        writer.setValue("General/buzzer"_s, QString::fromLatin1(value));
        QCOMPARE(KeyBeep::isOn(&reader), qstrcmp(value, "on") == 0);
    }
}

void TestCommon::font_isTheFirstFamilyOfTheId()
{
    const int id = PanelFont::registerFile(fontFile);
    QVERIFY(id >= 0);
    const QString family = QFontDatabase::applicationFontFamilies(id).value(0);
    QVERIFY(!family.isEmpty());
    QCOMPARE(PanelFont::family(id), family);
    const QFont font = PanelFont::font(id, 13, 75);
    QCOMPARE(font.family(), family);
    QCOMPARE(font.pointSize(), 13);
    QCOMPARE(font.weight(), 75);
}

void TestCommon::font_missingFile_isTheApplicationsDefault()
{
    const int id = PanelFont::registerFile("/hmi/no-such-font.ttf"_s);
    QCOMPARE(id, -1);
    QCOMPARE(PanelFont::family(id), QGuiApplication::font().family());
    QCOMPARE(PanelFont::font(id, 9, 50).pointSize(), 9);
    QCOMPARE(PanelFont::family(4711), QGuiApplication::font().family());
}

void TestCommon::font_isRegisteredOnce()
{
    const int id = PanelFont::registerFile(fontFile);
    for (int round = 0; round < 100; ++round) {
        QCOMPARE(PanelFont::registerFile(fontFile), id);
    }
    // Qt hands its places out in order: the next font stands right behind, or the hundred are
    // there.
    const int next = QFontDatabase::addApplicationFont(fontFile);
    QVERIFY(QFontDatabase::removeApplicationFont(next));
    QCOMPARE(next, id + 1);
}

void TestCommon::font_droppedByTheHost_isRegisteredAgain()
{
    PanelFont::registerFile(fontFile);
    QFontDatabase::removeAllApplicationFonts();
    const int id = PanelFont::registerFile(fontFile);
    QVERIFY(!QFontDatabase::applicationFontFamilies(id).isEmpty());
    QCOMPARE(id, 0); // the first of a process is remembered like any other
    QCOMPARE(PanelFont::registerFile(fontFile), id);
}

void TestCommon::translation_fileFollowsTheLanguage_data()
{
    QTest::addColumn<uint>("language");
    QTest::addColumn<QString>("sunday");
    QTest::newRow("Chinese") << 0U << QString::fromUtf8("周日");
    QTest::newRow("English") << 1U << "Sun.";
    QTest::newRow("any other value is English") << 5U << "Sun.";
}

void TestCommon::translation_fileFollowsTheLanguage()
{
    QFETCH(uint, language);
    QFETCH(QString, sunday);
    QTranslator translator;
    QVERIFY(Translation::load(translator, language));
    QCOMPARE(translator.translate("GeneralSettings", "Sun"), sunday);
}

void TestCommon::translation_installedOftenIsLookedUpOnce()
{
    CountingTranslator translator;
    for (int round = 0; round < 1000; ++round) {
        Translation::install(translator);
    }
    translator.lookups = 0;
    QCOMPARE(QCoreApplication::translate("GeneralSettings", "nowhere"), "nowhere"_s);
    QCOMPARE(translator.lookups, 1);
}

void TestCommon::translation_changeEventsAreStillSent()
{
    CountingTranslator translator;
    Translation::install(translator);
    LanguageChanges changes;
    Translation::install(translator);
    QVERIFY(changes.count >= 1);
}

void TestCommon::translation_deletedTranslatorLeavesNothing()
{
    auto translator = std::make_unique<QTranslator>();
    QVERIFY(Translation::load(*translator, 0));
    for (int round = 0; round < 3; ++round) {
        Translation::install(*translator);
    }
    QCOMPARE(QCoreApplication::translate("GeneralSettings", "Sun"), QString::fromUtf8("周日"));
    translator.reset();
    QCOMPARE(QCoreApplication::translate("GeneralSettings", "Sun"), "Sun"_s);
}

void TestCommon::message_showsWhatItIsGiven_data()
{
    QTest::addColumn<QMessageBox::Icon>("icon");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QMessageBox::StandardButton>("button");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("sign");
    QTest::newRow("short") << QMessageBox::Critical << "no"_s << QMessageBox::Ok << "OK"_s
                           << "critical";
    QTest::newRow("long") << QMessageBox::Information << QString(40, QLatin1Char('w'))
                          << QMessageBox::Yes << "Yes"_s
                          << "information";
}

void TestCommon::message_showsWhatItIsGiven()
{
    QFETCH(QMessageBox::Icon, icon);
    QFETCH(QString, text);
    QFETCH(QMessageBox::StandardButton, button);
    QFETCH(QString, caption);
    QFETCH(QString, sign);
    const int fontId = PanelFont::registerFile(fontFile);
    bool closed = false;
    const Hands::WhenOpen<QMessageBox> looking([&](QMessageBox& open) {
        QMessageBox* box = &open;
        QCOMPARE(box->icon(), icon);
        QCOMPARE(box->windowTitle(), "Title"_s);
        QCOMPARE(box->text(), text);
        QVERIFY(!box->parent());
        QCOMPARE(int(box->standardButtons()), int(button));
        QCOMPARE(box->defaultButton(), box->button(button));
        QCOMPARE(box->styleSheet(),
                 "QMessageBox{background-color:rgb(255, 255, 255);border:2px solid "
                 "#000000;border-radius:3px;}"_s);

        const QImage drawn(SIGNS_FOLDER "/%1.png"_s.arg(sign));
        const auto* shown = box->findChild<QLabel*>("qt_msgboxex_icon_label"_s);
        QCOMPARE(shown->pixmap(Qt::ReturnByValue).toImage(),
                 drawn.convertToFormat(QImage::Format_ARGB32_Premultiplied));

        const auto* label = box->findChild<QLabel*>("qt_msgbox_label"_s);
        QCOMPARE(label->font().family(), PanelFont::family(fontId));
        QVERIFY2(label->width() >= label->fontMetrics().horizontalAdvance(text), "nothing cut off");
        const QAbstractButton* key = box->button(button);
        QCOMPARE(key->text(), caption);
        QVERIFY2(key->width() >= 100 && key->height() >= 44, "a finger hits it");
        QVERIFY(key->styleSheet().contains("button_up.png"_s));
        closed = true;
        box->button(button)->click();
    });
    Message::show(nullptr, fontId, icon, "Title"_s, text, button);
    QVERIFY(closed);
}

QTEST_MAIN(TestCommon)
#include "test_common.moc"
