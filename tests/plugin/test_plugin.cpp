#include "plugin/SettingsInterface.h"
#include "tests/support/Hands.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QCborMap>
#include <QCborStreamReader>
#include <QCborValue>
#include <QDialog>
#include <QDir>
#include <QFontDatabase>
#include <QJsonObject>
#include <QLineEdit>
#include <QPluginLoader>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <dlfcn.h>
#include <memory>

namespace {

int callsOfForeignFunctions = 0;

} // namespace

// Things of the host's own that happen to be called like the library's, and that come before it in
// the order in which the loader looks for names.

int SysReg_Read(unsigned id, void* buf);
int SysReg_Read(unsigned /*id*/, void* /*buf*/)
{
    ++callsOfForeignFunctions;
    return -1;
}

class EEInfoHandle
{
public:
    static EEInfoHandle* instance();
};

EEInfoHandle* EEInfoHandle::instance()
{
    ++callsOfForeignFunctions;
    return nullptr;
}

namespace {

const QString pluginFile = QStringLiteral(PLUGIN_FILE);
const QByteArray identifier = QByteArrayLiteral("cn.zarvo.SettingsInterface");

/// Opens the brightness keypad of a dialog and enters a level.
void enterBrightness(QDialog* dialog, const QString& digits)
{
    auto* field = dialog->findChild<QLineEdit*>("brightnessLineEdit"_s);
    QVERIFY(!Hands::enter(*field, digits).isEmpty());
}

/// A loader whose unload() really takes the library out of the process; Qt's default keeps it.
class Loader : public QPluginLoader
{
public:
    Loader() : QPluginLoader(pluginFile) { setLoadHints(QLibrary::LoadHints()); }
    ~Loader() override
    {
        if (isLoaded()) {
            unload();
        }
    }

    SettingsInterface* plugin() { return qobject_cast<SettingsInterface*>(instance()); }
};

bool libraryIsMapped()
{
    return PanelWorld::fileContent("/proc/self/maps"_s)
        .contains(QFileInfo(pluginFile).fileName().toUtf8());
}

} // namespace

class TestPlugin : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void metadata_isFoundWithoutLoading();
    void metadata_holdsTwoEntriesAndTheReleaseMark();
    void casts_answerTheDocumentedNames_data();
    void casts_answerTheDocumentedNames();
    void rootObject_isOneAndIsMadeAgain();
    void bundle_livesFromLoadToUnload();
    void createInstance_givesDistinctCompleteDialogs();
    void createInstance_givesUnownedDialogs();
    void host_namesOfItsOwnAreNotCalled();
    void host_signalDispositionsStay();
    void journey_twoDialogsOneDeletedThenUnload();
    void journey_manyLoadsLeaveNothingBehind();
};

void TestPlugin::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    QVERIFY2(QFile::exists(pluginFile), PLUGIN_FILE);
}

void TestPlugin::metadata_isFoundWithoutLoading()
{
    const Loader loader;
    QCOMPARE(loader.metaData().value("IID"_s).toString(), QString::fromLatin1(identifier));
    QCOMPARE(loader.metaData().value("className"_s).toString(), "SettingsPlugin"_s);
    QVERIFY(loader.metaData().value("MetaData"_s).toObject().isEmpty());
    QVERIFY(!loader.isLoaded());
    QVERIFY(!libraryIsMapped());
}

void TestPlugin::metadata_holdsTwoEntriesAndTheReleaseMark()
{
    const QByteArray library = PanelWorld::fileContent(pluginFile);
    const QByteArray magic = QByteArrayLiteral("QTMETADATA !");
    // The magic itself is also a text in Qt's sources, so look for it with its version bytes.
    const int at = library.indexOf(magic + QByteArray("\0\x05\x0f", 3));
    QVERIFY(at >= 0);
    QCOMPARE(int(library.at(at + 15)), PLUGIN_IS_DEBUG);

    const QByteArray cbor = library.mid(at + 16, 256);
    QCOMPARE(uchar(cbor.at(0)), uchar(0xBF)); // a map of indefinite length
    QCborStreamReader reader(cbor);
    const QCborMap entries = QCborValue::fromCbor(reader).toMap();
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries.value(2).toString(), QString::fromLatin1(identifier));
    QCOMPARE(entries.value(3).toString(), "SettingsPlugin"_s);
}

void TestPlugin::casts_answerTheDocumentedNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("answer");
    QTest::newRow("class") << QByteArray("SettingsPlugin") << "object";
    QTest::newRow("interface class") << QByteArray("SettingsInterface") << "interface";
    QTest::newRow("identifier") << identifier << "interface";
    QTest::newRow("base") << QByteArray("QObject") << "object";
    QTest::newRow("anything else") << QByteArray("cn.zarvo.Other") << "null";
}

void TestPlugin::casts_answerTheDocumentedNames()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, answer);
    Loader loader;
    QObject* root = loader.instance();
    QVERIFY2(root, qPrintable(loader.errorString()));
    auto* interface = qobject_cast<SettingsInterface*>(root);
    QVERIFY(interface);
    void* const expected = answer == "object"_s      ? static_cast<void*>(root)
                           : answer == "interface"_s ? static_cast<void*>(interface)
                                                     : nullptr;
    QCOMPARE(root->qt_metacast(name.constData()), expected);
    QVERIFY(static_cast<void*>(root) != static_cast<void*>(interface));
    QVERIFY(loader.unload());
}

void TestPlugin::rootObject_isOneAndIsMadeAgain()
{
    Loader loader;
    const QPointer<QObject> first = loader.instance();
    QCOMPARE(loader.instance(), first.data());
    QCOMPARE(first->metaObject()->className(), "SettingsPlugin");
    QVERIFY(!first->parent());
    delete first.data();
    QVERIFY(loader.instance());
    QVERIFY(loader.unload());
}

void TestPlugin::bundle_livesFromLoadToUnload()
{
    const QString picture = ":/Resources/time.png"_s;
    QVERIFY(!QFile::exists(picture));
    Loader loader;
    QVERIFY(loader.load());
    QVERIFY(QFile::exists(picture));
    QVERIFY(QFile::exists(":/Languages/Translate_CN.qm"_s));
    QVERIFY(loader.unload());
    QVERIFY(!QFile::exists(picture));
    QVERIFY2(!libraryIsMapped(), "unloading takes the code out of the process");
}

void TestPlugin::createInstance_givesDistinctCompleteDialogs()
{
    Loader loader;
    SettingsInterface* plugin = loader.plugin();
    const std::unique_ptr<QDialog> first(plugin->createInstance());
    const std::unique_ptr<QDialog> second(plugin->createInstance());
    QVERIFY(first && second);
    QVERIFY(first != second);
    for (const QDialog* dialog : {first.get(), second.get()}) {
        QCOMPARE(dialog->metaObject()->className(), "Settings");
        QVERIFY(dialog->findChild<QWidget*>("generalSettingsListWidget"_s)->layout());
        // Initialised: the texts are those of the language, not their sources.
        QCOMPARE(dialog->findChild<QPushButton*>("Chinese"_s)->text(), QString::fromUtf8("中文"));
    }
}

void TestPlugin::createInstance_givesUnownedDialogs()
{
    Loader loader;
    SettingsInterface* plugin = loader.plugin();
    const std::unique_ptr<QDialog> dialog(plugin->createInstance());
    QVERIFY(!dialog->parent());
    QVERIFY(!dialog->isVisible());
    QVERIFY(!dialog->testAttribute(Qt::WA_DeleteOnClose));
    dialog->show();
    dialog->close();
    QVERIFY(!dialog->isVisible());
}

void TestPlugin::host_namesOfItsOwnAreNotCalled()
{
    callsOfForeignFunctions = 0;
    int value = 0;
    QCOMPARE(SysReg_Read(0, &value), -1);
    QVERIFY(!EEInfoHandle::instance());
    QCOMPARE(callsOfForeignFunctions, 2);
    // The program offers them, so that the loader would take them for the library's.
    QVERIFY(dlsym(RTLD_DEFAULT, "_Z11SysReg_ReadjPv"));
    QVERIFY(dlsym(RTLD_DEFAULT, "_ZN12EEInfoHandle8instanceEv"));

    Loader loader;
    SettingsInterface* plugin = loader.plugin();
    QVERIFY(plugin);
    const std::unique_ptr<QDialog> dialog(plugin->createInstance());
    QVERIFY(dialog);
    QCOMPARE(callsOfForeignFunctions, 2);
}

void TestPlugin::host_signalDispositionsStay()
{
    const auto dispositions = [] {
        QList<void (*)(int)> handlers;
        for (const int number : {SIGPIPE, SIGCHLD, SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
            struct sigaction action = {};
            sigaction(number, nullptr, &action);
            handlers << action.sa_handler;
        }
        return handlers;
    };
    const auto before = dispositions();
    Loader loader;
    SettingsInterface* plugin = loader.plugin();
    {
        const std::unique_ptr<QDialog> dialog(plugin->createInstance());
        // Tools that end before reading: the image is larger than nothing, and nobody takes it.
        PanelWorld::replaceTool("writeee"_s, "exec 0<&-; exit 1");
        PanelWorld::replaceTool("setbright"_s, QByteArray());
        dialog->findChild<QSlider*>()->setValue(9);
        dialog->findChild<QSlider*>()->setValue(10);
        PanelWorld::restoreTools();
    }
    QCOMPARE(dispositions(), before);
}

void TestPlugin::journey_twoDialogsOneDeletedThenUnload()
{
    {
        Loader loader;
        SettingsInterface* plugin = loader.plugin();
        QVERIFY(plugin);
        std::unique_ptr<QDialog> first(plugin->createInstance());
        std::unique_ptr<QDialog> second(plugin->createInstance());
        first->show();
        // The keypad is made for the first dialog and keeps its settings object ...
        enterBrightness(first.get(), "7"_s);
        QCOMPARE(PanelWorld::state("backlight"_s).trimmed(), QByteArray("100"));
        first.reset();

        // ... which is gone when the second one uses it.
        second->show();
        enterBrightness(second.get(), "5"_s);
        auto* field = second->findChild<QLineEdit*>("brightnessLineEdit"_s);
        QCOMPARE(field->text(), "05"_s);
        QCOMPARE(PanelWorld::state("backlight"_s).trimmed(), QByteArray("92"));
        QCOMPARE(PanelWorld::image().mid(29, 2), QByteArray("\x5c\0", 2));
        second.reset();
        QVERIFY(loader.unload());
    }
    QVERIFY(!libraryIsMapped());
    // The host goes on: events, windows and fonts without the library.
    QWidget window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    for (const QWidget* widget : QApplication::topLevelWidgets()) {
        QVERIFY(widget == &window || widget->isHidden());
    }
}

void TestPlugin::journey_manyLoadsLeaveNothingBehind()
{
    const auto round = [] {
        Loader loader;
        SettingsInterface* plugin = loader.plugin();
        const std::unique_ptr<QDialog> dialog(plugin->createInstance());
        dialog->show();
        enterBrightness(dialog.get(), "3"_s);
        const int families = QFontDatabase().families().size();
        return families;
    };
    const int widgets = QApplication::allWidgets().size();
    const int familiesWithout = QFontDatabase().families().size();
    const int families = round();
    const uint descriptors = QDir("/proc/self/fd"_s).count();
    for (int times = 0; times < 10; ++times) {
        QCOMPARE(round(), families);
        QVERIFY(!libraryIsMapped());
    }
    QCOMPARE(QApplication::allWidgets().size(), widgets);
    QCOMPARE(QDir("/proc/self/fd"_s).count(), descriptors);
    QCOMPARE(QFontDatabase().families().size(), familiesWithout);
}

QTEST_MAIN(TestPlugin)
#include "test_plugin.moc"
