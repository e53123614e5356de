#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "general/GeneralSettings.h"
#include "network/NetworkSettings.h"
#include "settings/Settings.h"
#include "tests/support/Hands.h"
#include "tests/support/LanguageChanges.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <QTranslator>

#include <malloc.h>

namespace {

const QString noticePipe = "/tmp/fifo_sysreg"_s;

/// Marks every text it is asked for: what is shown without the mark never came through tr(), or was
/// not asked for again.
class MarkingTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* /*context*/, const char* text, const char* /*comment*/,
                      int /*n*/) const override
    {
        return mark() + QString::fromUtf8(text);
    }
    static QString mark() { return "@"_s; }
};

/// Notes what it is asked for.
class AskedTranslator : public QTranslator
{
public:
    mutable QStringList asked;

    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char* /*comment*/,
                      int /*n*/) const override
    {
        asked << QString::fromUtf8(context) + QLatin1Char('/') + QString::fromUtf8(text);
        return {};
    }
};

/// Visible texts of a window that hold letters and miss the mark. Fields hold values, which no
/// language changes: a MAC address has letters, too.
QStringList unmarkedTexts(const QWidget* window)
{
    QStringList texts;
    for (const QWidget* widget : window->findChildren<QWidget*>()) {
        const QString text = widget->property("text").toString();
        const bool hasLetters = text.contains(QRegularExpression(R"(\pL)"_s));
        const bool isField = qobject_cast<const QLineEdit*>(widget) != nullptr;
        if (widget->isVisible() && hasLetters && !isField &&
            !text.contains(MarkingTranslator::mark())) {
            texts << text;
        }
    }
    return texts;
}

} // namespace

class TestLanguage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyVisibleText_isAskedForAgain();
    void start_asksAHostsTranslatorAgain();
    void start_showsEveryLanguage();
    void switch_tellsTheRuntimeFirst();
    void everyTextOfTheKeypad_isTranslated();
    void messageBox_isTranslated();
    void oddLanguageTexts_areKept();
    void missingFiles_showTheSource();
    void manySwitches_keepTheChangeEvents();
    void manySwitches_takeNoMemory();
    void deletedDialog_leavesNoTranslator();
};

void TestLanguage::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
}

void TestLanguage::everyVisibleText_isAskedForAgain()
{
    Settings dialog(nullptr);
    dialog.init();
    dialog.show();
    MarkingTranslator marker;
    QCoreApplication::installTranslator(&marker);
    dialog.refresh();
    dialog.findChild<GeneralSettings*>()->refresh();
    dialog.findChild<NetworkSettings*>()->refresh();
    QCOMPARE(unmarkedTexts(&dialog), QStringList());
    dialog.findChild<QPushButton*>("networkPushButton"_s)->click();
    QCOMPARE(unmarkedTexts(&dialog), QStringList());

    // The check can fail: a text set behind the translator's back is found.
    dialog.findChild<QLabel*>("titleobject"_s)->setText("bare"_s);
    QCOMPARE(unmarkedTexts(&dialog), QStringList({"bare"_s}));
}

void TestLanguage::start_asksAHostsTranslatorAgain()
{
    AskedTranslator host;
    QCoreApplication::installTranslator(&host);
    const Settings dialog(nullptr);
    QCOMPARE(host.asked.count("Settings/Settings"_s), 2); // the window's title
}

void TestLanguage::start_showsEveryLanguage()
{
    Settings dialog(nullptr);
    const LanguageChanges changes;
    dialog.init();
    const QString none = "Disable Network"_s;
    const QString english = "Disable Network:"_s;
    const QString chinese = QString::fromUtf8("禁用网络：");
    // Both, the stored one, and the same by each page. A translator that is put in anew is taken
    // out first.
    QCOMPARE(changes.shown, QStringList({english, none, chinese, none, chinese, chinese, chinese}));
}

void TestLanguage::switch_tellsTheRuntimeFirst()
{
    NoticeListener runtime(noticePipe);
    Settings dialog(nullptr);
    dialog.init();
    runtime.takeAll();
    QList<QList<quint32>> told; // by the time of each change
    const LanguageChanges changes([&] { told << runtime.takeNumbers(); });
    dialog.updateLanguage(Settings::English);
    QCOMPARE(told.value(0), QList<quint32>({20}));
}

void TestLanguage::everyTextOfTheKeypad_isTranslated()
{
    InputDialog::release();
    MarkingTranslator marker;
    QCoreApplication::installTranslator(&marker);
    InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
    keypad->show();
    QCOMPARE(unmarkedTexts(keypad), QStringList());
    QCOMPARE(keypad->windowTitle(), "@Dialog"_s);
    keypad->close();
    InputDialog::release();
}

void TestLanguage::messageBox_isTranslated()
{
    Settings dialog(nullptr);
    dialog.init();
    const struct
    {
        Settings::Language language;
        const char* title;
        const char* text;
    } rows[] = {
        {Settings::Chinese, "提示信息", "输入数字超出范围！"},
        {Settings::English, "Tips", "Input number is out of range!"},
    };
    for (const auto& row : rows) {
        dialog.updateLanguage(row.language);
        InputDialog* keypad = InputDialog::Instance(0, 1, 32, 17, nullptr, nullptr);
        const Hands::Answers answers;
        QTimer::singleShot(0, keypad, [keypad] { Hands::type(*keypad, "0EX"_s); });
        keypad->exec();
        QCOMPARE(answers.only().title, QString::fromUtf8(row.title));
        QCOMPARE(answers.only().text, QString::fromUtf8(row.text));
    }
}

void TestLanguage::oddLanguageTexts_areKept()
{
    Settings dialog(nullptr);
    dialog.init();
    dialog.updateLanguage(Settings::Chinese);
    QCOMPARE(QCoreApplication::translate("NetworkSettings", "Gateway:"),
             QString::fromUtf8("    网关："));
    // The two buttons read the same in both languages.
    for (const auto language : {Settings::Chinese, Settings::English}) {
        dialog.updateLanguage(language);
        QCOMPARE(dialog.findChild<QPushButton*>("Chinese"_s)->text(), QString::fromUtf8("中文"));
        QCOMPARE(dialog.findChild<QPushButton*>("English"_s)->text(), "EN"_s);
    }
}

void TestLanguage::missingFiles_showTheSource()
{
    // Texts without an entry show their source in both languages.
    Settings dialog(nullptr);
    dialog.init();
    for (const auto language : {Settings::Chinese, Settings::English}) {
        dialog.updateLanguage(language);
        QCOMPARE(GeneralSettings::tr("Invalid Day"), "Invalid Day"_s);
        QCOMPARE(InputDialog::tr("ENTER"), "ENTER"_s);
        QCOMPARE(DateTimeDialog::tr("Dialog"), "Dialog"_s);
    }
    QCOMPARE(QCoreApplication::translate("NetworkSettings", "Static IP"), "Static IP"_s);
}

void TestLanguage::manySwitches_keepTheChangeEvents()
{
    Settings dialog(nullptr);
    dialog.init();
    LanguageChanges changes;
    int expected = 0;
    for (int round = 0; round < 200; ++round) {
        const int before = changes.count;
        dialog.updateLanguage(round % 2 ? Settings::Chinese : Settings::English);
        if (round == 0) {
            expected = changes.count - before;
        }
        QVERIFY(changes.count > before);
        QCOMPARE(changes.count - before, expected);
    }
}

void TestLanguage::manySwitches_takeNoMemory()
{
    NoticeListener runtime(noticePipe);
    Settings dialog(nullptr);
    dialog.init();
    const auto switchTimes = [&](int times) {
        for (int round = 0; round < times; ++round) {
            dialog.updateLanguage(round % 2 ? Settings::Chinese : Settings::English);
            runtime.takeAll();
        }
    };
    constexpr int times = 10000;
    switchTimes(times); // caches fill, and what lies free between other things finds its place
    const auto before = mallinfo2().uordblks;
    switchTimes(times);
    const auto after = mallinfo2().uordblks;
    // One list entry a switch would be 40 000 bytes and more.
    QVERIFY2(after < before + 8192, qPrintable(QString::number(qint64(after) - qint64(before))));
}

void TestLanguage::deletedDialog_leavesNoTranslator()
{
    {
        Settings dialog(nullptr);
        dialog.init();
        dialog.updateLanguage(Settings::Chinese);
        dialog.updateLanguage(Settings::Chinese);
        QCOMPARE(QCoreApplication::translate("Settings", "Restart"), QString::fromUtf8("重启"));
    }
    for (const char* context : {"Settings", "GeneralSettings", "NetworkSettings", "InputDialog"}) {
        QCOMPARE(QCoreApplication::translate(context, "Tips"), "Tips"_s);
    }
    QCOMPARE(QCoreApplication::translate("Settings", "Restart"), "Restart"_s);
    QCOMPARE(QCoreApplication::translate("GeneralSettings", "Sun"), "Sun"_s);
}

QTEST_MAIN(TestLanguage)
#include "test_language.moc"
