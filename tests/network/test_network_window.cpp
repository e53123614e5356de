#include "tests/network/NetworkTest.h"
#include "tests/support/Finger.h"

#include <QGroupBox>
#include <QHash>
#include <QScopeGuard>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

/// Everything of a pane that shows or takes something.
QList<QWidget*> partsOf(AdapterPane& pane)
{
    QList<QWidget*> parts;
    for (QWidget* part : pane.widget()->findChildren<QWidget*>()) {
        if (qobject_cast<QLabel*>(part) || qobject_cast<QPushButton*>(part) ||
            qobject_cast<QComboBox*>(part) || qobject_cast<QLineEdit*>(part) ||
            qobject_cast<QGroupBox*>(part)) {
            parts << part;
        }
    }
    return parts;
}

/// How much a part is too narrow for the text that it shows, or can be made to show; in pixels.
int missingWidth(const QWidget& part)
{
    int beside = 0; // borders and what else is there
    QStringList texts;
    if (const auto* label = qobject_cast<const QLabel*>(&part)) {
        return label->sizeHint().width() - label->width();
    }
    if (const auto* button = qobject_cast<const QPushButton*>(&part)) {
        texts << button->text();
        beside = 8;
    } else if (const auto* box = qobject_cast<const QComboBox*>(&part)) {
        texts << choicesOf(*box);
        beside = 46; // the arrow's place and a margin
    } else if (const auto* field = qobject_cast<const QLineEdit*>(&part)) {
        texts << field->text();
        beside = 4;
    } else if (const auto* group = qobject_cast<const QGroupBox*>(&part)) {
        texts << group->title();
        beside = 20;
    }
    int missing = beside - part.width();
    for (const QString& text : qAsConst(texts)) {
        missing =
            std::max(missing, part.fontMetrics().horizontalAdvance(text) + beside - part.width());
    }
    return missing;
}

/// The parts of a pane that nobody sees as a whole, wherever a finger drags its scroll bar from its
/// top to its end.
QList<QWidget*> hiddenParts(AdapterPane& pane)
{
    pane.verticalScrollBar()->setValue(0);
    QList<QWidget*> hidden = partsOf(pane);
    const auto look = [&hidden] {
        QCoreApplication::processEvents(); // what was dragged moves
        hidden.erase(std::remove_if(hidden.begin(), hidden.end(),
                                    [](const QWidget* part) {
                                        return part->visibleRegion().boundingRect() == part->rect();
                                    }),
                     hidden.end());
    };
    look();
    QScrollBar& bar = *pane.verticalScrollBar();
    constexpr int finger = 20; // pixels
    if (bar.isVisible() && bar.width() >= finger) {
        Finger touch;
        touch.press(bar, {bar.width() / 2, finger});
        constexpr int step = 4; // pixels; a part is seen for longer than that
        for (int y = finger; y < bar.height(); y += step) {
            touch.moveBy({0, step});
            look();
        }
        touch.lift();
    }
    return hidden;
}

/// The same, dragged once more when a box has opened meanwhile: that takes the bar from the finger.
QList<QWidget*> hiddenParts(AdapterPane& pane, const Hands::Answers& closing)
{
    QList<QWidget*> hidden;
    int boxes = -1;
    while (boxes != closing.boxes().size()) {
        boxes = closing.boxes().size();
        hidden = hiddenParts(pane);
    }
    return hidden;
}

/// Vertical middles of the six rows of a pane's right half, as they lie on the screen.
QList<int> rowMiddles(AdapterPane& pane)
{
    QList<int> middles;
    const auto add = [&](const QWidget& content) {
        middles << content.mapTo(pane.window(), content.rect().center()).y();
    };
    for (const auto value : {AdapterPane::Ip, AdapterPane::Mask, AdapterPane::Gateway,
                             AdapterPane::FirstDns, AdapterPane::BackupDns}) {
        add(pane.row(value));
    }
    const QList<QLineEdit*> fields = pane.findChildren<QLineEdit*>();
    add(*fields.last()); // the MAC address
    return middles;
}

/// Counts how often each field is told of a change of its style, for as long as the object lives.
class StyleLog : public QObject
{
public:
    StyleLog() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::StyleChange && qobject_cast<QLineEdit*>(watched)) {
            ++changes[watched];
        }
        return false;
    }

    QHash<const QObject*, int> changes;
};

} // namespace

/// The page in its window, on every screen.
class TestNetworkWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetPanel(); }

    void window_stylesEachFieldOnce();
    void window_everythingIsWithinReach_data();
    void window_everythingIsWithinReach();
};

/// Each further time costs as much as the first, on a slow processor.
void TestNetworkWindow::window_stylesEachFieldOnce()
{
    const StyleLog log;
    Settings window(nullptr);
    window.init();
    window.show();
    const auto panes = window.findChildren<AdapterPane*>();
    QCOMPARE(panes.size(), 2);
    for (const AdapterPane* pane : panes) {
        for (const QLineEdit* field : pane->fields()) {
            QCOMPARE(log.changes.value(field), 1);
        }
    }
}

void TestNetworkWindow::window_everythingIsWithinReach_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QString>("language"); // object name of the button; none when it starts
    for (const QSize& screen : {QSize(800, 400), QSize(800, 480), QSize(1024, 600),
                                QSize(1280, 800), QSize(1920, 1080)}) {
        for (const char* language : {"", "Chinese", "English"}) {
            QTest::addRow("%dx%d %s", screen.width(), screen.height(), language)
                << screen << QString::fromLatin1(language);
        }
    }
}

void TestNetworkWindow::window_everythingIsWithinReach()
{
    QFETCH(QSize, screen);
    QFETCH(QString, language);
    const QByteArray before = PanelWorld::image();
    const auto putBack = qScopeGuard([&before] { PanelWorld::setImage(before); });
    PanelWorld::setScreenWidth(screen.width());
    PanelWorld::patchImage(256 + 6, QByteArray(1, '\1')); // two adapters
    for (const int adapter : {0, 133}) {
        PanelWorld::patchImage(33 + adapter, QByteArray(6, '\xDD'));  // MAC address
        PanelWorld::patchImage(41 + adapter, QByteArray(12, '\xFF')); // the addresses
    }
    PanelWorld::writeFile(resolver, "nameserver 255.255.255.255 # eth0 eth1\n"
                                    "nameserver 255.255.255.255 # eth0 eth1\n");
    // A result of the connectivity test opens a box by itself, also while a slow machine is still
    // busy with a test of something else.
    const Hands::Answers closing;
    Settings window(nullptr);
    window.init();
    window.resize(screen);
    window.show();
    if (!language.isEmpty()) {
        window.findChild<QPushButton*>(language)->click();
    }
    window.findChild<QPushButton*>("networkPushButton"_s)->click();
    auto& page = *window.findChild<NetworkSettings*>();
    auto& tabs = *page.findChild<QTabWidget*>();
    QCOMPARE(tabs.count(), 2);
    for (int adapter = 0; adapter < tabs.count(); ++adapter) {
        auto& pane = *qobject_cast<AdapterPane*>(tabs.widget(adapter));
        pane.defaultButton().click(); // its gateway is shown
        const QPoint tab = tabs.tabBar()->tabRect(adapter).center();
        QTest::mouseClick(tabs.tabBar(), Qt::LeftButton, Qt::NoModifier, tab);
        const auto dynamic = [&pane] { pane.modeBox().setCurrentIndex(1); };
        const auto running = [&page] { page.onSetTest(); };
        const auto off = [&pane] { pane.disableSwitch().click(); };
        const std::function<void()> states[] = {[] {}, dynamic, running, off};
        for (const auto& enter : states) {
            enter();
            QTRY_COMPARE(pane.verticalScrollBar()->isVisible(), screen.height() < 480);
            QCOMPARE(hiddenParts(pane, closing), QList<QWidget*>());
            QCOMPARE(partsOf(pane).size(), 54);
            for (const QWidget* part : partsOf(pane)) {
                QVERIFY2(missingWidth(*part) <= 0, qPrintable(part->property("text").toString()));
            }
            pane.verticalScrollBar()->setValue(0);
            const QList<int> middles = rowMiddles(pane);
            const bool isUsual = screen.height() >= 480;
            for (int row = 0; isUsual && row < middles.size(); ++row) { // a pixel for rounding
                const double even = (middles.last() - middles.first()) * row / 5.0;
                QVERIFY2(std::abs(middles.at(row) - middles.first() - even) <= 1,
                         qPrintable(QString::number(row)));
            }
        }
    }
    QCOMPARE(window.size(), screen); // it has not grown
}

QTEST_MAIN(TestNetworkWindow)
#include "test_network_window.moc"
