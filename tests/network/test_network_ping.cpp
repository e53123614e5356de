#include "tests/network/NetworkTest.h"

#include <QElapsedTimer>

namespace {

QImage lampPicture(const char* name)
{
    const QPixmap picture(":/Resources/k.lamp0_0%1.png"_s.arg(QString::fromLatin1(name)));
    return picture.scaled(30, 30).toImage();
}

/// The picture that a pane's lamp shows, in the size it has.
QImage lamp(const AdapterPane& pane)
{
    for (const QLabel* label : pane.findChildren<QLabel*>()) {
        const QPixmap picture = label->pixmap(Qt::ReturnByValue);
        if (!picture.isNull()) {
            return label->size() == QSize(30, 30) ? picture.toImage() : QImage();
        }
    }
    return QImage();
}

/// Whether a test button has its whole look: colours, and what no state changes.
bool hasLook(const QPushButton& button, const char* background, const char* border,
             const char* pressed)
{
    return button.styleSheet() ==
           "QPushButton#TestButton{border-radius:8px;margin:4px 2px;"
           "background-color:%1;color:black;border:2px solid %2;}"
           "QPushButton#TestButton:pressed{background-color:%3;color:white;}"_s.arg(
               QString::fromLatin1(background), QString::fromLatin1(border),
               QString::fromLatin1(pressed));
}

bool looksIdle(const QPushButton& button)
{
    return hasLook(button, "rgba(163, 198, 218, 200)", "#008cba", "#008cba");
}

bool looksRunning(const QPushButton& button)
{
    return hasLook(button, "rgba(255,170,0,150)", "rgba(255,170,0,255)", "rgba(255,170,0,255)");
}

} // namespace

/// The connectivity test.
class TestNetworkPing : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void ping_runsInOrderAndShowsTheResult_data();
    void ping_runsInOrderAndShowsTheResult();
    void ping_runsInTheBackground();
    void ping_result_isABoxOfItsOwn();
    void ping_pressedAgain_waitsAnew();
    void ping_underAnOpenBox_opensNoSecond();
    void ping_pageDeletedUnderTheBox_isSafe();
};

void TestNetworkPing::ping_runsInOrderAndShowsTheResult_data()
{
    QTest::addColumn<int>("tab");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QImage>("lampAfter");
    const QString failed = "test failed"_s;
    const int critical = QMessageBox::Critical;
    QTest::newRow("reply") << 1 << QByteArray("64 bytes from x: ttl=63") << "test successful"_s
                           << int(QMessageBox::Information) << lampPicture("1");
    QTest::newRow("none") << 0 << QByteArray("nothing") << failed << critical << lampPicture("0");
    QTest::newRow("missing") << 1 << QByteArray() << failed << critical << lampPicture("0");
}

void TestNetworkPing::ping_runsInOrderAndShowsTheResult()
{
    QFETCH(int, tab);
    QFETCH(QByteArray, output);
    QFETCH(QString, text);
    QFETCH(int, icon);
    QFETCH(QImage, lampAfter);
    NetworkPage world;
    world.started();
    for (const int shown : {0, 1}) {
        QVERIFY(!lampPicture("0").isNull());
        QCOMPARE(lamp(world.pane(shown)), lampPicture("0"));
        QVERIFY(looksIdle(world.pane(shown).testButton()));
    }
    PanelWorld::writeFile("ping.txt"_s, "ttl of an earlier test");
    world.settings.setValue("General/buzzer"_s, "on"_s);
    world.pane(tab).testButton().click();
    QTRY_COMPARE(PanelWorld::commands(), QStringList({beep, "rm ping.txt"_s, "killall ping"_s,
                                                      "ping www.example.com -W 3 -c 1"_s}));
    QTRY_COMPARE(PanelWorld::fileContent("ping.txt"_s), QByteArray());
    for (const int shown : {0, 1}) {
        QCOMPARE(lamp(world.pane(shown)), lampPicture("2"));
        QVERIFY(looksRunning(world.pane(shown).testButton()));
    }
    QFile::remove("ping.txt"_s);
    if (!output.isEmpty()) {
        PanelWorld::writeFile("ping.txt"_s, output);
    }
    QList<QImage> lampsUnderTheBox;
    const Hands::Answers answers([&] {
        lampsUnderTheBox << lamp(world.pane(0)) << lamp(world.pane(1));
        QVERIFY(looksRunning(world.pane(0).testButton()));
        QVERIFY(looksRunning(world.pane(1).testButton()));
    });
    world.page().ping_test();
    QCOMPARE(summaryOf(answers.only()),
             QStringList({"设备详细信息"_s, text, QString::number(icon), "1"_s}));
    QCOMPARE(lampsUnderTheBox, QList<QImage>({lampAfter, lampAfter}));
    for (const int shown : {0, 1}) {
        QCOMPARE(lamp(world.pane(shown)), lampAfter);
        QVERIFY(looksIdle(world.pane(shown).testButton()));
    }
}

void TestNetworkPing::ping_runsInTheBackground()
{
    const QString clicked = "/tmp/clicked"_s;
    QFile::remove(clicked);
    // The tool tells whether the page works on while it runs; after a while it gives up waiting.
    const BusyTool ping("ping", "for wait in $(seq 50); do\n"
                                "[ ! -e /tmp/clicked ] || { echo beside the page; break; }\n"
                                "sleep 0.1\n"
                                "done");
    NetworkPage world;
    world.started();
    world.pane(0).testButton().click();
    PanelWorld::writeFile(clicked, QByteArray());
    world.deletePage(); // no result is to open
    QTRY_COMPARE(PanelWorld::commands().filter("ping www.example.com"_s).size(), 1);
    QCOMPARE(PanelWorld::fileContent("ping.txt"_s), QByteArray("beside the page\n"));
}

void TestNetworkPing::ping_result_isABoxOfItsOwn()
{
    NetworkPage world;
    world.started();
    Qt::WindowFlags flags;
    QString style;
    bool isModal = false;
    const QObject* parent = &world.page();
    const Hands::WhenOpen<QMessageBox> looking([&](QMessageBox& box) {
        flags = box.windowFlags();
        style = box.styleSheet();
        isModal = box.isModal();
        parent = box.parent();
        box.close();
    });
    world.page().ping_test();
    QVERIFY(flags.testFlag(Qt::Dialog));
    QVERIFY(flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    QCOMPARE(style, "QMessageBox{background-color:rgb(255, 255, 255);"
                    "border:2px solid #000000;border-radius:3px;}"_s);
    QVERIFY(isModal);
    QCOMPARE(parent, nullptr);
}

void TestNetworkPing::ping_pressedAgain_waitsAnew()
{
    constexpr int wait = 3000;
    NetworkPage world;
    world.started();
    QPushButton& button = world.pane(0).testButton();
    button.click();
    QTest::qWait(wait / 2);
    button.click();
    QElapsedTimer sinceSecond;
    sinceSecond.start();
    QTRY_COMPARE(PanelWorld::commands().count("killall ping"_s), 2);
    int boxes = 0;
    bool stillRunning = false;
    qint64 waited = 0;
    QTimer look;
    connect(&look, &QTimer::timeout, &look, [&] {
        if (auto* box = Hands::modal<QMessageBox>()) {
            waited = sinceSecond.elapsed();
            stillRunning = looksRunning(button); // until the box is closed
            ++boxes;
            box->close();
        }
    });
    look.start(20);
    QTRY_COMPARE_WITH_TIMEOUT(boxes, 1, 4 * wait);
    QVERIFY2(waited > wait * 9 / 10, qPrintable(QString::number(waited)));
    QVERIFY(stillRunning);
    QTest::qWait(wait + wait / 10);
    QCOMPARE(boxes, 1); // one result for each test
    QVERIFY(looksIdle(button));
}

void TestNetworkPing::ping_underAnOpenBox_opensNoSecond()
{
    NetworkPage world;
    world.started();
    int boxes = 0;
    const Hands::WhenOpen<QMessageBox> testing([&](QMessageBox& box) {
        world.page().onSetTest(); // a newer test
        world.page().ping_test();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            boxes += qobject_cast<QMessageBox*>(window) && window->isVisible() ? 1 : 0;
        }
        box.close();
    });
    world.page().ping_test();
    QCOMPARE(boxes, 1);
    // The newer test goes on and shows its own result.
    QVERIFY(looksRunning(world.pane(0).testButton()));
    const Hands::Answers answers;
    world.page().ping_test();
    QCOMPARE(answers.boxes().size(), 1);
    QVERIFY(looksIdle(world.pane(0).testButton()));
}

void TestNetworkPing::ping_pageDeletedUnderTheBox_isSafe()
{
    NetworkPage world;
    world.started();
    bool opened = false;
    const Hands::WhenOpen<QMessageBox> deleting([&](QMessageBox& box) {
        opened = true;
        world.deletePage();
        box.close();
    });
    world.page().ping_test();
    QVERIFY(opened);
}

QTEST_MAIN(TestNetworkPing)
#include "test_network_ping.moc"
