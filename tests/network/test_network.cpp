#include "adapters/DefaultRoutes.h"
#include "adapters/DhcpClient.h"
#include "adapters/DottedQuad.h"
#include "adapters/PingTest.h"
#include "tests/network/NetworkPage.h"
#include "tests/support/NoticeListener.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGroupBox>
#include <QListView>
#include <QMessageBox>
#include <QMetaMethod>
#include <QProcess>
#include <QScopeGuard>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

const QString beep = QStringLiteral("/root/plat-intf/setbeep long");
const QString resolver = QStringLiteral("/etc/resolv.conf");
const QString backup = QStringLiteral("/etc/resolvbak.conf");
const QString noticePipe = QStringLiteral("/tmp/fifo_sysreg");
const QString wordArea = QStringLiteral("/tmp/smw.dat");
const QString bitArea = QStringLiteral("/hmi_data/sfb.dat");
const QString byteArea = QStringLiteral("/hmi_data/sfw.dat");
constexpr int preferenceByte = 180;
constexpr int dhcpBit[2] = {20, 21};
constexpr int disabledBit[2] = {13, 14};

using Index = NetworkSettings::networkIndexType;

QStringList routes(const QString& gateway0, int metric0, const QString& gateway1, int metric1)
{
    return {
        QStringLiteral("route del default"), QStringLiteral("route del default"),
        QStringLiteral("route add default gw %1 dev eth0 metric %2").arg(gateway0).arg(metric0),
        QStringLiteral("route add default gw %1 dev eth1 metric %2").arg(gateway1).arg(metric1)};
}

QStringList usualRoutes()
{
    return routes(QStringLiteral("192.168.1.1"), 1, QStringLiteral("10.0.0.1"), 1);
}

QString line(const char* text)
{
    return QString::fromLatin1(text);
}

char storedPreference()
{
    return PanelWorld::fileContent(byteArea).at(preferenceByte);
}

/// An adapter that the kernel really has, with an address that a DHCP client might have got. It
/// goes with the object.
class Cable
{
public:
    explicit Cable(int adapter, const QString& address = QStringLiteral("10.1.2.77/16"))
        : m_name(QStringLiteral("eth%1").arg(adapter))
    {
        ip(QStringLiteral("link add %1 type veth peer name far").arg(m_name));
        setFarEnd(true);
        addAddress(address);
        ip(QStringLiteral("link set %1 up").arg(m_name));
    }
    ~Cable() { ip(QStringLiteral("link del %1").arg(m_name)); }
    Cable(const Cable&) = delete;
    Cable& operator=(const Cable&) = delete;

    void addAddress(const QString& address)
    {
        ip(QStringLiteral("addr add %1 dev %2").arg(address, m_name));
    }
    void setFarEnd(bool up)
    {
        ip(QStringLiteral("link set far %1").arg(up ? line("up") : line("down")));
    }
    void setUp(bool up)
    {
        ip(QStringLiteral("link set %1 %2").arg(m_name, up ? line("up") : line("down")));
    }

private:
    static void ip(const QString& arguments)
    {
        if (QProcess::execute(line("ip"), arguments.split(QLatin1Char(' '))) != 0) {
            qFatal("ip %s failed", qPrintable(arguments));
        }
    }

    QString m_name;
};

/// Longer than the time between two looks for a lease, in milliseconds.
constexpr int severalPolls = 350;

/// The time between two looks for a lease, in milliseconds.
constexpr int pollInterval = 100;

/// Notes of every timer that fires, for as long as the object lives, its interval in milliseconds.
class TimerLog : public QObject
{
public:
    TimerLog() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* timer = qobject_cast<QTimer*>(watched);
        if (timer && event->type() == QEvent::Timer) {
            fired << timer->interval();
        }
        return false;
    }

    QList<int> fired;
};

/// Gives a shell tool something to do first, for as long as the object lives.
class BusyTool
{
public:
    BusyTool(const char* tool, const QByteArray& script)
        : m_path(QStringLiteral("/panel/bin/") + line(tool)),
          m_usual(PanelWorld::fileContent(m_path))
    {
        PanelWorld::writeFile(m_path, "#!/bin/sh\n" + script + '\n' + m_usual);
    }
    ~BusyTool() { PanelWorld::writeFile(m_path, m_usual); }
    BusyTool(const BusyTool&) = delete;
    BusyTool& operator=(const BusyTool&) = delete;

private:
    QString m_path;
    QByteArray m_usual;
};

/// Looks at something each time that a shell tool is run: what the script prints is one line.
class Looks
{
public:
    Looks(const char* tool, const QByteArray& script)
        : m_tool(tool, "echo $(" + script + ") >>/tmp/looks")
    {
        PanelWorld::writeFile(file, QByteArray());
    }
    /// What was seen since the last call, oldest first.
    QStringList take()
    {
        QStringList seen =
            QString::fromUtf8(PanelWorld::fileContent(file)).split(QLatin1Char('\n'));
        seen.removeLast(); // behind the last line's end
        PanelWorld::writeFile(file, QByteArray());
        return seen;
    }

private:
    const QString file = QStringLiteral("/tmp/looks");
    BusyTool m_tool;
};

/// Some times the same line.
QStringList repeated(int times, const QString& text)
{
    QStringList lines;
    std::fill_n(std::back_inserter(lines), times, text);
    return lines;
}

/// The captions of a pane: every text of a label but the dots between octets.
QStringList captionsOf(const AdapterPane& pane)
{
    QStringList captions;
    for (const QLabel* label : pane.findChildren<QLabel*>()) {
        if (label->text().size() > 1) { // no dot, no lamp
            captions << label->text();
        }
    }
    return captions;
}

QStringList choicesOf(const QComboBox& box)
{
    QStringList choices;
    for (int at = 0; at < box.count(); ++at) {
        choices << box.itemText(at);
    }
    return choices;
}

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

/// Sends a mouse event as a finger on the glass makes it.
void touch(QWidget& widget, QEvent::Type type, const QPoint& place)
{
    const bool released = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, place, type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                      released ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&widget, &event);
}

/// The parts of a pane that nobody sees as a whole, wherever a finger drags its scroll bar.
QList<QWidget*> hiddenParts(AdapterPane& pane)
{
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
        touch(bar, QEvent::MouseButtonPress, {bar.width() / 2, finger});
        for (int y = finger; y < bar.height(); ++y) {
            touch(bar, QEvent::MouseMove, {bar.width() / 2, y});
            look();
        }
        touch(bar, QEvent::MouseButtonRelease, {bar.width() / 2, bar.height()});
    }
    return hidden;
}

/// The choices that a default-adapter box does not offer.
QList<int> hiddenChoices(QComboBox& box)
{
    const auto* list = qobject_cast<QListView*>(box.view());
    QList<int> hidden;
    for (int row = 0; row < box.count(); ++row) {
        if (list->isRowHidden(row)) {
            hidden << row;
        }
    }
    return hidden;
}

/// What the settings file itself says of an adapter's switch; empty when nothing.
QString switchInFile(int adapter)
{
    const QRegularExpression entry(QStringLiteral("\\[Network%1\\]\\s+enable=(\\w+)").arg(adapter));
    return entry.match(QString::fromUtf8(PanelWorld::fileContent(settingsPath))).captured(1);
}

/// For as long as the object lives, nothing more can be written to any file; by no tool either that
/// does not lift the limit.
class NoRoom
{
public:
    NoRoom() : m_before(setLimit(0)), m_action(std::signal(SIGXFSZ, SIG_IGN)) {}
    ~NoRoom()
    {
        setLimit(m_before);
        std::signal(SIGXFSZ, m_action);
    }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;

private:
    static rlim_t setLimit(rlim_t bytes)
    {
        rlimit limit{};
        if (getrlimit(RLIMIT_FSIZE, &limit) != 0) {
            qFatal("the limit of files cannot be read");
        }
        const rlim_t before = std::exchange(limit.rlim_cur, bytes);
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            qFatal("files cannot be limited");
        }
        return before;
    }

    rlim_t m_before;
    void (*m_action)(int);
};

/// Takes from this program, for as long as the object lives, the right to open files that their
/// permissions do not let it open; the shell's tools get theirs anew.
class NoOverride
{
public:
    NoOverride()
    {
        use(SYS_capget, m_powers);
        Powers without = m_powers;
        without[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
        use(SYS_capset, without);
    }
    ~NoOverride() { use(SYS_capset, m_powers); }
    NoOverride(const NoOverride&) = delete;
    NoOverride& operator=(const NoOverride&) = delete;

private:
    using Powers = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

    static void use(long call, Powers& powers)
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        if (syscall(call, &header, powers.data()) != 0) {
            qFatal("capabilities cannot be set");
        }
    }

    Powers m_powers{};
};

QImage lampPicture(const char* name)
{
    const QPixmap picture(QStringLiteral(":/Resources/k.lamp0_0%1.png").arg(line(name)));
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
           QStringLiteral("QPushButton#TestButton{border-radius:8px;margin:4px 2px;"
                          "background-color:%1;color:black;border:2px solid %2;}"
                          "QPushButton#TestButton:pressed{background-color:%3;color:white;}")
               .arg(line(background), line(border), line(pressed));
}

bool looksIdle(const QPushButton& button)
{
    return hasLook(button, "rgba(163, 198, 218, 200)", "#008cba", "#008cba");
}

bool looksRunning(const QPushButton& button)
{
    return hasLook(button, "rgba(255,170,0,150)", "rgba(255,170,0,255)", "rgba(255,170,0,255)");
}

/// Closes every message box as soon as it is open, for as long as the object lives. A result of the
/// connectivity test opens one by itself, also while a slow machine is still busy with a test of
/// something else.
class BoxCloser
{
public:
    BoxCloser()
    {
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                box->close();
            }
        });
        m_look.start(lookInterval);
    }

private:
    static constexpr int lookInterval = 20; // milliseconds
    QTimer m_look;
};

/// Share of light that a colour gives back, from 0 (black) to 1 (white), as an eye sees it.
double luminance(const QColor& color)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

/// Contrast between the lightest and the darkest pixel of what a widget shows: 1 for none, 21 for
/// black on white.
double contrastOf(QWidget& widget)
{
    // With what shines through it.
    const QRect place(widget.mapTo(widget.window(), QPoint()), widget.size());
    const QImage picture = widget.window()->grab(place).toImage();
    double lightest = 0;
    double darkest = 1;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double light = luminance(picture.pixelColor(x, y));
            lightest = std::max(lightest, light);
            darkest = std::min(darkest, light);
        }
    }
    return (lightest + 0.05) / (darkest + 0.05);
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
    add(*pane.findChildren<QLineEdit*>().last()); // the MAC address
    return middles;
}

/// Answers the message box that opens next, after a look around while it is open.
void answerNextBox(
    QStringList* seen, const std::function<void()>& look = [] {})
{
    QTimer::singleShot(0, qApp, [seen, look] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        look();
        *seen << box->windowTitle() << box->text() << QString::number(box->icon())
              << QString::number(box->buttons().size());
        box->close();
    });
}

} // namespace

class TestNetwork : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void methods_areInTheirOrder();
    void fields_areToldByIdentity();
    void captions_inTheirOrder();
    void look_isThePanels();
    void tabs_oneForEachAdapter_data();
    void tabs_oneForEachAdapter();
    void tabs_clickSwitchesAndBeepsOnce();
    void sizes_followTheScreenWidth_data();
    void sizes_followTheScreenWidth();
    void mac_canBeReadInEveryState();
    void window_everythingIsWithinReach_data();
    void window_everythingIsWithinReach();
    void start_static_runsInOrder();
    void start_oneAdapter_touchesNoEth1();
    void start_storedOff_changesNoInterface();
    void start_storedOn_isAsAbsent();
    void start_dynamic_startsTheClient();
    void start_fillsTheFields();
    void start_writesNoRecord();

    void keypad_opensForEachField();
    void press_reachesTheWidgetToo();
    void record_isThePagesOwn();
    void entry_ip_appliesInOrder();
    void entry_appliesEachValue_data();
    void entry_appliesEachValue();
    void entry_usesTheTextsAsShown();
    void entry_dns_writesTheResolverFileOnly_data();
    void entry_dns_writesTheResolverFileOnly();
    void entry_ofTheOtherTab_onlyRebuildsRoutes();
    void entry_cancelled_changesNothing();
    void entry_aboveTheRange_isRefused();
    void entry_disabledField_opensNoKeypad();
    void entry_pageDeletedUnderTheKeypad_isSafe();
    void otherIndices_doNothing();

    void conflict_isTold_data();
    void conflict_isTold();
    void conflict_needsAllFourOctets();

    void resolver_readsServers_data();
    void resolver_readsServers();
    void resolver_isReadAndRewrittenInAnyFile();
    void resolver_missingFiles_areMade_data();
    void resolver_missingFiles_areMade();
    void resolver_otherLines_stayByteForByte();
    void resolver_backupWithoutLine_isAppended();
    void resolver_unopenable_changesNothing();
    void resolver_readOnly_isReadAndLeftAlone();

    void routes_followTheRegister_data();
    void routes_followTheRegister();
    void routes_choosing_runsTheSlotOncePerBox();
    void routes_button_storesTheAdapterNumber_data();
    void routes_button_storesTheAdapterNumber();
    void routes_unknownPreference_isIgnored();

    void dhcp_dynamicAndBack_data();
    void dhcp_dynamicAndBack();
    void dhcp_switchedOff_asksOnlyForEth1();
    void dhcp_withoutABox_isOfTheAdapterGiven();
    void dhcp_box_saysWhichAdapter();
    void dhcp_twice_killsTheFirstClient();
    void dhcp_noLease_keepsPolling_data();
    void dhcp_noLease_keepsPolling();
    void lease_isStoredAsIfTyped_data();
    void lease_isStoredAsIfTyped();
    void lease_afterStart_isTaken();
    void poll_endsWithDynamicMode_data();
    void poll_endsWithDynamicMode();
    void liveAddress_isTheFirstOfAReadyAdapter();

    void switch_offAndOn_static_data();
    void switch_offAndOn_static();
    void switch_on_dynamic();
    void switch_on_takesTheModeAnew_data();
    void switch_on_takesTheModeAnew();
    void switch_off_leavesTheDefaultChoice();
    void switch_off_keepsTheOtherAsDefault_data();
    void switch_off_keepsTheOtherAsDefault();
    void switch_settingsNotWritable_loseNothing_data();
    void switch_settingsNotWritable_loseNothing();

    void refresh_followsTheRegisters();
    void refresh_withoutChange_runsNothing();
    void refresh_keepsTheChosenGateway();
    void refresh_oneAdapter_leavesTheOtherAlone();
    void language_changesEveryText_data();
    void language_changesEveryText();

    void ping_runsInOrderAndShowsTheResult_data();
    void ping_runsInOrderAndShowsTheResult();
    void ping_runsInTheBackground();
    void ping_result_isABoxOfItsOwn();
    void ping_pressedAgain_waitsAnew();
    void ping_underAnOpenBox_opensNoSecond();
    void ping_pageDeletedUnderTheBox_isSafe();

    void beeps_data();
    void beeps();
    void toolMissing_othersStillRun_data();
    void toolMissing_othersStillRun();
    void toolsMissing_pageStaysUsable();
    void manyPages_leaveNothing();

private:
    /// Operates everything that runs a tool.
    void useEveryTool();
    /// What was run, sorted; once each, as a missing file is asked for until the tool is there that
    /// makes it.
    static QStringList linesRun();

    QStringList m_runWithEveryTool;
};

void TestNetwork::init()
{
    PanelWorld::restoreTools();
    QFile::remove(settingsPath);
    for (const QString& file : {resolver, backup}) {
        PanelWorld::writeFile(file, QByteArray());
    }
    for (const QString& pid : {line("/var/run/udhcpc0.pid"), line("/var/run/udhcpc1.pid")}) {
        QFile::remove(pid);
    }
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
    for (const int bit : {dhcpBit[0], dhcpBit[1], disabledBit[0], disabledBit[1]}) {
        PanelWorld::setAreaBit(bitArea, bit, false);
    }
    PanelWorld::patchFile(wordArea, 751, QByteArray(104, '\xEE'));
    PanelWorld::clearCommands();
}

void TestNetwork::methods_areInTheirOrder()
{
    const QMetaObject& page = NetworkSettings::staticMetaObject;
    QStringList methods;
    for (int at = page.methodOffset(); at < page.methodCount(); ++at) {
        methods << QString::fromLatin1(page.method(at).methodSignature());
    }
    QCOMPARE(methods,
             QStringList({line("updateEEData(EEInfoDetail::Flash_WR_1&,"
                               "Settings::FlashWR1DataType)"),
                          line("onChangeLanguage(Settings::Language)"),
                          line("onDisableNetworkSwitched()"), line("onSetDefaultGateway()"),
                          line("onSetTest()"), line("onSetCombobox(int)"),
                          line("onSetAdapterCombobox(int)"), line("onTabBarSwitched(int)"),
                          line("slotdhcp()"), line("slotdhcp1()"), line("ping_test()")}));
    QCOMPARE(page.method(page.methodOffset()).methodType(), QMetaMethod::Signal);
    QCOMPARE(page.method(page.methodOffset() + 1).methodType(), QMetaMethod::Slot);
    QCOMPARE(page.superClass()->className(), "QTableView");
}

void TestNetwork::fields_areToldByIdentity()
{
    NetworkPage world;
    const NetworkSettings& page = world.page();
    using Asks = bool (NetworkSettings::*)(Index, QLineEdit*) const;
    const Asks asks[] = {&NetworkSettings::isConfigIp, &NetworkSettings::isConfigMask,
                         &NetworkSettings::isConfigGateway, &NetworkSettings::isConfigFirstDns,
                         &NetworkSettings::isConfigBackupDns};
    for (const int owner : {0, 1}) {
        const QList<QLineEdit*> fields = world.pane(owner).fields();
        QCOMPARE(fields.size(), 20);
        for (int field = 0; field < fields.size(); ++field) {
            for (const int adapter : {0, 1}) {
                int value = 0;
                for (const Asks ask : asks) {
                    QCOMPARE((page.*ask)(Index(adapter), fields.at(field)),
                             adapter == owner && value == field / 4);
                    ++value;
                }
            }
        }
        QVERIFY(!page.isConfigIp(Index(owner), &world.macField(owner)));
        QVERIFY(!page.isConfigIp(Index(owner), nullptr));
    }
}

void TestNetwork::captions_inTheirOrder()
{
    NetworkPage world;
    world.started();
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        const QStringList left{line("Disable Network"), line("Network:"), line("Gateway:0.0.0.0"),
                               line("Setting:"), line("OuterNet State:")};
        const QStringList right{line("IP Address:"),        line("Subnet Mask:"),
                                line("Gateway:"),           line("First DNS Server:"),
                                line("Backup DNS Server:"), line("MAC Address:")};
        QCOMPARE(captionsOf(pane), left + right);
        QCOMPARE(pane.findChild<QGroupBox*>()->title(), line("Default gateway info"));
        world.tabs().setCurrentIndex(adapter);
        QVERIFY(world.networkLabel(adapter).geometry().right() <
                world.gatewayLabel(adapter).geometry().left());
        QCOMPARE(pane.defaultButton().text(), line("Set as default gateway"));
        QCOMPARE(pane.testButton().text(), line("test"));
        for (const auto value : {AdapterPane::Ip, AdapterPane::Mask, AdapterPane::Gateway,
                                 AdapterPane::FirstDns, AdapterPane::BackupDns}) {
            int dots = 0;
            for (const QLabel* label : pane.row(value).findChildren<QLabel*>()) {
                dots += label->text() == line(".") ? 1 : 0;
            }
            QCOMPARE(dots, 3);
        }
    }
}

void TestNetwork::look_isThePanels()
{
    NetworkPage world;
    world.started();
    const QString family =
        QFontDatabase::applicationFontFamilies(
            QFontDatabase::addApplicationFont(QStringLiteral("/hmi/default.ttf")))
            .value(0);
    QVERIFY(!family.isEmpty());
    QCOMPARE(world.tabs().tabBar()->font().family(), family);
    for (const char* part :
         {"width:173px", "background:rgb(210, 210, 210)", "border-top-left-radius:8px",
          "border-top-right-radius:8px", "QTabBar::tab:selected{background:rgb(246, 246, 246);}",
          "QTabWidget::pane{background:rgb(246, 246, 246);border:0px;}"}) {
        QVERIFY2(world.tabs().styleSheet().contains(line(part)), part);
    }
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        QCOMPARE(pane.defaultButton().objectName(), line("BlueButton"));
        QCOMPARE(pane.testButton().objectName(), line("TestButton"));
        QCOMPARE(pane.modeBox().font().family(), family);
        QVERIFY(world.macField(adapter).isReadOnly());
        for (const QLineEdit* field : pane.fields()) {
            QCOMPARE(field->styleSheet(), line("QLineEdit{border-width:0;border-style:outset}"));
            QCOMPARE(field->alignment(), Qt::Alignment(Qt::AlignCenter));
            QCOMPARE(field->font().family(), family);
        }
    }
}

void TestNetwork::tabs_oneForEachAdapter_data()
{
    QTest::addColumn<int>("adapters");
    QTest::newRow("one") << 1;
    QTest::newRow("two") << 2;
}

void TestNetwork::tabs_oneForEachAdapter()
{
    QFETCH(int, adapters);
    NetworkPage world(adapters);
    world.started();
    QCOMPARE(world.page().supportEth2(), adapters - 1);
    QCOMPARE(world.tabs().count(), adapters);
    for (int at = 0; at < adapters; ++at) {
        QCOMPARE(world.tabs().tabText(at), QStringLiteral("wired network%1").arg(at));
    }
    const QStringList choices{line("Auto"), line("wired network0"), line("wired network1")};
    for (int at = 0; at < 2; ++at) {
        QCOMPARE(choicesOf(world.pane(at).defaultBox()), choices.mid(0, adapters + 1));
        QCOMPARE(choicesOf(world.pane(at).modeBox()),
                 QStringList({line("Static IP"), line("Dynamic IP")}));
    }
    QVERIFY(world.pane(0).isVisible());
    QVERIFY(!world.pane(1).isVisible());
}

void TestNetwork::tabs_clickSwitchesAndBeepsOnce()
{
    NetworkPage world;
    world.started();
    world.settings.setValue(line("General/buzzer"), line("on"));
    QTabBar* bar = world.tabs().tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(1).center());
    QCOMPARE(world.tabs().currentIndex(), 1);
    QVERIFY(world.pane(1).isVisible());
    QCOMPARE(PanelWorld::commands(), QStringList(beep));
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(1).center());
    QCOMPARE(PanelWorld::commands(), QStringList({beep, beep})); // shown already, pressed again
    world.tabs().setCurrentIndex(0);
    QVERIFY(world.pane(0).isVisible());
    QCOMPARE(PanelWorld::commands(), QStringList({beep, beep})); // nobody pressed
}

void TestNetwork::sizes_followTheScreenWidth_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QList<int>>("sizes"); // button, default button, combo box, tab
    QTest::newRow("800") << 800 << QList<int>{40, 300, 25, 25};
    QTest::newRow("1024") << 1024 << QList<int>{50, 400, 42, 45};
    QTest::newRow("1280") << 1280 << QList<int>{50, 400, 42, 45};
    QTest::newRow("1920") << 1920 << QList<int>{70, 500, 60, 45};
    QTest::newRow("other") << 1366 << QList<int>{50, 300, 30, 45};
}

void TestNetwork::sizes_followTheScreenWidth()
{
    QFETCH(int, width);
    QFETCH(QList<int>, sizes);
    const char packed[] = {char(width & 0xFF), char((width >> 8) << 4)};
    PanelWorld::patchImage(256 + 14, QByteArray(packed, 2));
    NetworkPage world;
    world.started();
    for (int at = 0; at < 2; ++at) {
        AdapterPane& pane = world.pane(at);
        QCOMPARE(pane.testButton().size(), QSize(100, sizes.at(0)));
        QCOMPARE(pane.defaultButton().size(), QSize(sizes.at(1), sizes.at(0)));
        QCOMPARE(pane.modeBox().height(), sizes.at(2));
        QCOMPARE(pane.defaultBox().height(), sizes.at(2));
    }
    QCOMPARE(world.tabs().tabBar()->tabRect(0).size(), QSize(173, sizes.at(3)));
}

void TestNetwork::mac_canBeReadInEveryState()
{
    NetworkPage world;
    world.started();
    for (const int adapter : {0, 1}) {
        AdapterPane& pane = world.pane(adapter);
        world.tabs().setCurrentIndex(adapter);
        constexpr double readable = 4.5;
        QVERIFY(contrastOf(world.macField(adapter)) >= readable);
        pane.modeBox().setCurrentIndex(1);
        QVERIFY(!world.macField(adapter).isEnabled());
        QVERIFY(contrastOf(world.macField(adapter)) >= readable);
        pane.disableSwitch().click();
        QVERIFY(contrastOf(world.macField(adapter)) >= readable);
    }
}

void TestNetwork::window_everythingIsWithinReach_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QString>("language"); // object name of the button; none when it starts
    for (const QSize& screen : {QSize(800, 400), QSize(800, 480), QSize(1024, 600),
                                QSize(1280, 800), QSize(1920, 1080)}) {
        for (const char* language : {"", "Chinese", "English"}) {
            QTest::addRow("%dx%d %s", screen.width(), screen.height(), language)
                << screen << line(language);
        }
    }
}

void TestNetwork::window_everythingIsWithinReach()
{
    QFETCH(QSize, screen);
    QFETCH(QString, language);
    const QByteArray before = PanelWorld::image();
    const auto putBack = qScopeGuard([&before] { PanelWorld::setImage(before); });
    const char packed[] = {char(screen.width() & 0xFF), char((screen.width() >> 8) << 4)};
    PanelWorld::patchImage(256 + 14, QByteArray(packed, 2));
    PanelWorld::patchImage(256 + 6, QByteArray(1, '\1')); // two adapters
    for (const int adapter : {0, 133}) {
        PanelWorld::patchImage(33 + adapter, QByteArray(6, '\xDD'));  // MAC address
        PanelWorld::patchImage(41 + adapter, QByteArray(12, '\xFF')); // the addresses
    }
    PanelWorld::writeFile(resolver, "nameserver 255.255.255.255 # eth0 eth1\n"
                                    "nameserver 255.255.255.255 # eth0 eth1\n");
    const BoxCloser closer;
    Settings window(nullptr);
    window.init();
    window.resize(screen);
    window.show();
    if (!language.isEmpty()) {
        window.findChild<QPushButton*>(language)->click();
    }
    window.findChild<QPushButton*>(line("networkPushButton"))->click();
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
            QCOMPARE(hiddenParts(pane), QList<QWidget*>());
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

void TestNetwork::start_static_runsInOrder()
{
    PanelWorld::writeFile(settingsPath, QByteArray());
    PanelWorld::writeFile(line("/var/run/udhcpc0.pid"), "321\n");
    PanelWorld::writeFile(line("/var/run/udhcpc1.pid"), "322\n");
    Looks looks("ifconfig", "cat /hmi/Config/system_settings.ini");
    NetworkPage world;
    world.init();
    // Each adapter's switch is in the file before the next adapter's turn.
    QCOMPARE(looks.take(), QStringList({QString(), line("[Network0] enable=true")}));
    QStringList expected = {line("/root/plat-intf/readee")};
    expected << line("kill 321") << line("ifconfig eth0 192.168.0.5 up")
             << routes(line("192.168.1.1"), 1, line("0.0.0.0"), 1);
    expected << line("kill 322") << line("ifconfig eth1 10.0.0.6 up") << usualRoutes();
    QStringList commands = PanelWorld::commands();
    QCOMPARE(commands, expected);
    QCOMPARE(world.settings.value(line("Network0/enable")).toBool(), true);
    QCOMPARE(world.settings.value(line("Network1/enable")).toBool(), true);
}

void TestNetwork::start_oneAdapter_touchesNoEth1()
{
    NetworkPage world(1);
    world.init();
    QVERIFY(!PanelWorld::commands().join(QLatin1Char('\n')).contains(line("ifconfig eth1")));
    QVERIFY(!world.settings.contains(line("Network1/enable")));
    PanelWorld::clearCommands();
    QVERIFY(world.enter(world.field(0, AdapterPane::Mask, 3), line("0")));
    QCOMPARE(PanelWorld::commands().mid(2), usualRoutes()); // both, all the same
}

void TestNetwork::start_storedOff_changesNoInterface()
{
    QSettings(settingsPath, QSettings::IniFormat).setValue(line("Network1/enable"), false);
    NetworkPage world;
    world.init();
    QVERIFY(!PanelWorld::commands().join(QLatin1Char('\n')).contains(line("ifconfig eth1")));
    QVERIFY(!world.field(1, AdapterPane::Ip, 0)->isEnabled());
    QVERIFY(!world.macField(1).isEnabled());
    QVERIFY(!world.pane(1).modeBox().isEnabled());
    QCOMPARE(world.pane(1).disableSwitch().styleSheet(),
             line("border-image:url(:/Resources/switch_on.png);"));
    QCOMPARE(world.pane(0).disableSwitch().styleSheet(),
             line("border-image:url(:/Resources/switch_off.png);"));
    QVERIFY(PanelWorld::areaBit(bitArea, disabledBit[1]));
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[0]));
    for (const int shown : {0, 1}) {
        auto* list = qobject_cast<QListView*>(world.pane(shown).defaultBox().view());
        QVERIFY(list->isRowHidden(2));
        QVERIFY(!list->isRowHidden(1));
    }
    QCOMPARE(QSettings(settingsPath, QSettings::IniFormat).value(line("Network1/enable")).toBool(),
             false);
    // What is stored can be read, all the same.
    QCOMPARE(world.text(1, AdapterPane::Ip), line("10.0.0.6"));
    QCOMPARE(world.text(1, AdapterPane::Mask), line("255.0.0.0"));
    QCOMPARE(world.text(1, AdapterPane::Gateway), line("10.0.0.1"));
}

void TestNetwork::start_storedOn_isAsAbsent()
{
    for (const int adapter : {0, 1}) {
        QSettings(settingsPath, QSettings::IniFormat)
            .setValue(QStringLiteral("Network%1/enable").arg(adapter), true);
        PanelWorld::setAreaBit(bitArea, disabledBit[adapter], true);
    }
    NetworkPage world;
    world.init();
    QCOMPARE(
        PanelWorld::commands().filter(line("ifconfig")),
        QStringList({line("ifconfig eth0 192.168.0.5 up"), line("ifconfig eth1 10.0.0.6 up")}));
    for (const int adapter : {0, 1}) {
        QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[adapter]));
        QVERIFY(world.pane(adapter).modeBox().isEnabled());
    }
}

void TestNetwork::start_dynamic_startsTheClient()
{
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1\n");
    const QString addresses[] = {line("192.168.0.5"), line("10.0.0.6")};
    const QString gateways[] = {line("192.168.1.1"), line("10.0.0.1")};
    for (const int adapter : {0, 1}) {
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true);
        QSettings(settingsPath, QSettings::IniFormat).setValue(line("General/buzzer"), line("on"));
        NoticeListener runtime(noticePipe);
        NetworkPage world;
        world.init();
        // The stored state is no choice of the operator: no key click, nothing for the runtime.
        QCOMPARE(runtime.takeNumbers(), QList<quint32>());
        QVERIFY(!PanelWorld::commands().contains(beep));
        const QString client =
            QStringLiteral("udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid")
                .arg(adapter);
        QTRY_COMPARE(PanelWorld::commands().filter(line("udhcpc")), QStringList(client));
        QCOMPARE(PanelWorld::commands().filter(line("ifconfig")),
                 QStringList(QStringLiteral("ifconfig eth%1 %2 up")
                                 .arg(QString::number(1 - adapter), addresses[1 - adapter])));
        QCOMPARE(world.pane(adapter).modeBox().currentIndex(), 1);
        QVERIFY(world.pane(adapter).modeBox().isEnabled());
        // Locked, with what is stored until the lease arrives; servers are stored nowhere.
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QCOMPARE(world.text(adapter, AdapterPane::Ip), addresses[adapter]);
        QCOMPARE(world.text(adapter, AdapterPane::Gateway), gateways[adapter]);
        QCOMPARE(world.text(adapter, AdapterPane::FirstDns), line("0.0.0.0"));
        init();
        PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.2 # eth1\n");
    }
}

void TestNetwork::start_fillsTheFields()
{
    NetworkPage world;
    world.started();
    QCOMPARE(world.text(0, AdapterPane::Ip), line("192.168.0.5"));
    QCOMPARE(world.text(0, AdapterPane::Mask), line("255.255.255.0"));
    QCOMPARE(world.text(0, AdapterPane::Gateway), line("192.168.1.1"));
    QCOMPARE(world.text(1, AdapterPane::Ip), line("10.0.0.6"));
    QCOMPARE(world.text(1, AdapterPane::Mask), line("255.0.0.0"));
    QCOMPARE(world.text(1, AdapterPane::Gateway), line("10.0.0.1"));
    QCOMPARE(world.macField(0).text(), line("02:0a:ff:00:10:bc"));
    QCOMPARE(world.macField(1).text(), line("02:01:02:03:04:05"));
    QCOMPARE(world.networkLabel(0).text(), line("Network:"));
    QCOMPARE(world.gatewayLabel(1).text(), line("Gateway:0.0.0.0"));
}

void TestNetwork::start_writesNoRecord()
{
    NetworkPage world;
    world.init();
    QCOMPARE(world.told.size(), 0);
}

void TestNetwork::keypad_opensForEachField()
{
    NetworkPage world;
    world.started();
    QStringList shown; // the keypad's number and range
    const auto look = [&shown](QWidget* pressed) {
        QObject context;
        shown.clear();
        QTimer::singleShot(0, &context, [&shown] {
            auto* keypad = qobject_cast<InputDialog*>(QApplication::activeModalWidget());
            if (keypad) {
                shown << keypad->findChild<QLineEdit*>(line("numLineEdit"))->text()
                      << keypad->findChild<QLabel*>(line("minText"))->text()
                      << keypad->findChild<QLabel*>(line("maxText"))->text();
                keypad->close();
            }
        });
        NetworkPage::press(pressed);
        QCoreApplication::processEvents();
    };
    world.field(0, AdapterPane::FirstDns, 1)->setText(QString());
    for (const int adapter : {0, 1}) {
        for (QLineEdit* field : world.pane(adapter).fields()) {
            look(field);
            QCOMPARE(shown, QStringList({QString::number(field->text().toInt()), line("Min:0"),
                                         line("Max:255")}));
        }
        look(&world.macField(adapter));
        QCOMPARE(shown, QStringList());
    }
}

void TestNetwork::press_reachesTheWidgetToo()
{
    NetworkPage world;
    world.started();
    const QString gateways[] = {line("Gateway:192.168.1.1"), line("Gateway:10.0.0.1")};
    for (const int adapter : {0, 1}) {
        world.tabs().setCurrentIndex(adapter);
        AdapterPane& pane = world.pane(adapter);
        QTest::mouseClick(&pane.disableSwitch(), Qt::LeftButton);
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QTest::mouseClick(&pane.disableSwitch(), Qt::LeftButton);
        QVERIFY(world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QTest::mouseClick(&pane.defaultButton(), Qt::LeftButton);
        QCOMPARE(world.gatewayLabel(adapter).text(), gateways[adapter]);
        PanelWorld::clearCommands();
        QTest::mouseClick(&pane.testButton(), Qt::LeftButton);
        QVERIFY(PanelWorld::commands().contains(line("killall ping")));
        // A field gives up its selection when it is pressed, after the keypad.
        QLineEdit* field = world.field(adapter, AdapterPane::Mask, 2);
        field->selectAll();
        QVERIFY(world.enter(field, QString()));
        QVERIFY(!field->hasSelectedText());
    }
}

void TestNetwork::record_isThePagesOwn()
{
    NetworkPage world;
    world.started();
    QSet<const EEInfoDetail::Flash_WR_1*> records;
    connect(&world.page(), &NetworkSettings::updateEEData, &world.page(),
            [&records](EEInfoDetail::Flash_WR_1& record, auto) { records << &record; });
    const EEInfoDetail::Flash_WR_1 before = world.record;
    world.page().setIPToEE(NetworkSettings::Eth0, 1);
    world.page().setMaskToEE(NetworkSettings::Eth1, 2);
    world.page().setGatewayToEE(NetworkSettings::Eth0, 3);
    QCOMPARE(records.size(), 1);
    QVERIFY(!records.contains(&world.record));
    QCOMPARE(std::memcmp(&before, &world.record, sizeof before), 0);
    world.record.eth0_ip = 9; // later changes are not seen
    QCOMPARE(world.page().getIPFromEE(NetworkSettings::Eth0).join(QLatin1Char('.')),
             line("1.0.0.0"));
    QCOMPARE(reinterpret_cast<const char*>(*records.begin())[182], '\2');
}

void TestNetwork::entry_ip_appliesInOrder()
{
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 1), line("10")));
    const QStringList before = {line("ifconfig eth0 192.10.0.5"), line("sync")};
    QCOMPARE(PanelWorld::commands(), before + usualRoutes());
    QCOMPARE(world.told.size(), 1);
    QCOMPARE(world.told.first().type, 2);
    QCOMPARE(world.told.first().commands, before);
    QCOMPARE(world.told.first().record.mid(41, 4), QByteArray("\xC0\x0A\x00\x05", 4));
    QCOMPARE(PanelWorld::fileContent(wordArea).mid(751, 8),
             QByteArray("\xC0\x0A\x00\x05\0\0\0\0", 8));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestNetwork::entry_appliesEachValue_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("before"); // run before the record changes
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("recordByte");
    QTest::addColumn<int>("areaByte");
    QTest::addColumn<QByteArray>("bytes");
    const auto ip = int(AdapterPane::Ip);
    const auto mask = int(AdapterPane::Mask);
    const auto gateway = int(AdapterPane::Gateway);
    const QString sync = line("sync");
    const QStringList routes0 = routes(line("192.168.1.77"), 1, line("10.0.0.1"), 1);
    const QStringList routes1 = routes(line("192.168.1.1"), 1, line("10.0.0.77"), 1);
    QTest::newRow("eth0 ip") << 0 << ip << QStringList{line("ifconfig eth0 192.168.0.77"), sync}
                             << usualRoutes() << 2 << 41 << 751
                             << QByteArray("\xC0\xA8\x00\x4D", 4);
    QTest::newRow("eth0 mask") << 0 << mask
                               << QStringList{line("ifconfig eth0 netmask 255.255.255.77"), sync}
                               << usualRoutes() << 3 << 49 << 771
                               << QByteArray("\xFF\xFF\xFF\x4D", 4);
    QTest::newRow("eth0 gateway") << 0 << gateway << routes0 << routes0 << 4 << 45 << 779
                                  << QByteArray("\xC0\xA8\x01\x4D", 4);
    QTest::newRow("eth1 ip") << 1 << ip << QStringList{line("ifconfig eth1 10.0.0.77"), sync}
                             << usualRoutes() << 2 << 174 << 803
                             << QByteArray("\x0A\x00\x00\x4D", 4);
    QTest::newRow("eth1 mask") << 1 << mask
                               << QStringList{line("ifconfig eth1 netmask 255.0.0.77"), sync}
                               << usualRoutes() << 3 << 182 << 823
                               << QByteArray("\xFF\x00\x00\x4D", 4);
    QTest::newRow("eth1 gateway") << 1 << gateway << routes1 << routes1 << 4 << 178 << 831
                                  << QByteArray("\x0A\x00\x00\x4D", 4);
}

void TestNetwork::entry_appliesEachValue()
{
    QFETCH(int, adapter);
    QFETCH(int, value);
    QFETCH(QStringList, before);
    QFETCH(QStringList, after);
    QFETCH(int, type);
    QFETCH(int, recordByte);
    QFETCH(int, areaByte);
    QFETCH(QByteArray, bytes);
    NetworkPage world;
    world.started();
    world.tabs().setCurrentIndex(adapter);
    const QByteArray area = PanelWorld::fileContent(wordArea);
    NoticeListener runtime(noticePipe);
    Looks looks("route", "od -An -tx1 -N4 -j" + QByteArray::number(areaByte) + " /tmp/smw.dat");
    QVERIFY(world.enter(world.field(adapter, AdapterPane::Value(value), 3), line("77")));
    QCOMPARE(PanelWorld::commands(), before + after);
    // A gateway sets the routes before it is stored as well.
    const QStringList early = repeated(before.filter(line("route")).size(), line("ee ee ee ee"));
    QCOMPARE(looks.take(), early + repeated(4, QString::fromLatin1(bytes.toHex(' '))));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
    QCOMPARE(world.told.size(), 1);
    QCOMPARE(world.told.first().commands, before);
    QCOMPARE(world.told.first().type, type);
    QByteArray record(reinterpret_cast<const char*>(&world.record), sizeof world.record);
    record.replace(recordByte, 4, bytes);
    QCOMPARE(world.told.first().record, record);
    QCOMPARE(world.told.first().registers, area); // the register comes after the record
    QByteArray expected = area;
    expected.replace(areaByte, 8, bytes + QByteArray(4, '\0'));
    QCOMPARE(PanelWorld::fileContent(wordArea), expected);
}

void TestNetwork::entry_usesTheTextsAsShown()
{
    NetworkPage world;
    world.started();
    const struct
    {
        AdapterPane::Value value;
        const char* run;
        int recordByte;
    } rows[] = {{AdapterPane::Ip, "ifconfig eth0 192.010.x.77", 41},
                {AdapterPane::Mask, "ifconfig eth0 netmask 255.010.x.77", 49},
                {AdapterPane::Gateway, "route add default gw 192.010.x.77 dev eth0 metric 1", 45}};
    for (const auto& row : rows) {
        PanelWorld::clearCommands();
        world.field(0, row.value, 1)->setText(line("010"));
        world.field(0, row.value, 2)->setText(line("x"));
        QVERIFY(world.enter(world.field(0, row.value, 3), line("77")));
        QVERIFY2(PanelWorld::commands().contains(line(row.run)), row.run);
        const QByteArray stored = world.told.last().record.mid(row.recordByte, 4);
        QCOMPARE(stored.mid(1), QByteArray("\x0A\0\x4D", 3)); // decimal, and 0 for no number
    }
    world.field(0, AdapterPane::FirstDns, 1)->setText(line("010"));
    QVERIFY(world.enter(world.field(0, AdapterPane::FirstDns, 3), line("9")));
    QCOMPARE(PanelWorld::fileContent(resolver), QByteArray("nameserver 0.010.0.9 # eth0"));
}

void TestNetwork::entry_dns_writesTheResolverFileOnly_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QByteArray>("file");
    QTest::newRow("first") << int(AdapterPane::FirstDns)
                           << QByteArray("nameserver 1.1.1.9 # eth0\nnameserver 2.2.2.2 # eth0");
    QTest::newRow("backup") << int(AdapterPane::BackupDns)
                            << QByteArray("nameserver 1.1.1.1 # eth0\nnameserver 2.2.2.9 # eth0");
}

void TestNetwork::entry_dns_writesTheResolverFileOnly()
{
    QFETCH(int, value);
    QFETCH(QByteArray, file);
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\n\nnameserver 2.2.2.2 # eth0\n");
    NetworkPage world;
    world.started();
    QCOMPARE(world.text(0, AdapterPane::FirstDns), line("1.1.1.1"));
    QCOMPARE(world.text(0, AdapterPane::BackupDns), line("2.2.2.2"));
    const QByteArray area = PanelWorld::fileContent(wordArea);
    QVERIFY(world.enter(world.field(0, AdapterPane::Value(value), 3), line("9")));
    QCOMPARE(PanelWorld::commands(), usualRoutes());
    QCOMPARE(PanelWorld::fileContent(resolver), file);
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::fileContent(wordArea), area);
}

void TestNetwork::entry_ofTheOtherTab_onlyRebuildsRoutes()
{
    NetworkPage world;
    world.started();
    const QByteArray area = PanelWorld::fileContent(wordArea);
    world.page().updateSystemAndSaveToEE(NetworkSettings::Eth0, world.field(1, AdapterPane::Ip, 0));
    QCOMPARE(PanelWorld::commands(), usualRoutes());
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::fileContent(wordArea), area);
    PanelWorld::clearCommands();
    QVERIFY(world.enter(world.field(1, AdapterPane::Ip, 0), line("11"))); // while eth0 is shown
    QCOMPARE(PanelWorld::commands(), usualRoutes());
}

void TestNetwork::entry_cancelled_changesNothing()
{
    NetworkPage world;
    world.started();
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 1), QString()));
    QCOMPARE(world.text(0, AdapterPane::Ip), line("192.168.0.5"));
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetwork::entry_aboveTheRange_isRefused()
{
    NetworkPage world;
    world.started();
    QStringList seen;
    QTimer::singleShot(0, qApp, [&seen] {
        auto* keypad = qobject_cast<InputDialog*>(QApplication::activeModalWidget());
        QVERIFY(keypad);
        for (const char* key : {"pushButton2", "pushButton5", "pushButton6"}) {
            keypad->findChild<QPushButton*>(line(key))->click();
        }
        answerNextBox(&seen);
        keypad->findChild<QPushButton*>(line("pushButtonEnter"))->click();
        keypad->close();
    });
    NetworkPage::press(world.field(0, AdapterPane::Ip, 1));
    QCOMPARE(seen.value(1), line("Input number is out of range!"));
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetwork::entry_disabledField_opensNoKeypad()
{
    NetworkPage world;
    world.started();
    world.pane(0).disableSwitch().click();
    PanelWorld::clearCommands();
    QVERIFY(!world.enter(world.field(0, AdapterPane::Ip, 1), line("10")));
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetwork::entry_pageDeletedUnderTheKeypad_isSafe()
{
    NetworkPage world;
    world.started();
    bool opened = false;
    QTimer::singleShot(0, qApp, [&] {
        QWidget* keypad = QApplication::activeModalWidget();
        opened = keypad != nullptr;
        world.deletePage();
        keypad->findChild<QPushButton*>(line("pushButton5"))->click();
        keypad->findChild<QPushButton*>(line("pushButtonEnter"))->click();
    });
    world.page().doModal(world.field(0, AdapterPane::Ip, 1));
    QVERIFY(opened);
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetwork::otherIndices_doNothing()
{
    NetworkPage world;
    world.started();
    const auto other = Index(2);
    NetworkSettings& page = world.page();
    page.setIPToEE(other, 1);
    page.setMaskToEE(other, 1);
    page.setGatewayToEE(other, 1);
    page.updateIPData(other);
    page.updateMaskData(other);
    page.updateGatewayData(other);
    page.updateDNSData(other, NetworkSettings::FirstDns);
    page.updateDefaultGateway(other);
    page.updateDefaultNetwork(other);
    page.udhcpc(other);
    page.killudhcpc(other);
    page.updateDHCPConfig(other, true);
    page.disableNetworkConfig(other, 1);
    page.enableNetworkConfig(other);
    page.disableNetwork(other);
    page.enableNetwork(other);
    QCOMPARE(page.getIPFromEE(other), QStringList());
    QCOMPARE(page.getMaskFromEE(other), QStringList());
    QCOMPARE(page.getGatewayFromEE(other), QStringList());
    QCOMPARE(page.getMacFromEE(other), QStringList());
    QVERIFY(!page.isConfigIp(other, world.field(0, AdapterPane::Ip, 0)));
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(world.told.size(), 0);
}

void TestNetwork::conflict_isTold_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<int>("octet");
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("seen");
    const QString icon = QString::number(QMessageBox::Information);
    QTest::newRow("eth0") << 0 << 3 << 6
                          << QStringList{line("Tips"), line("IP is conflict with eth1!"), icon,
                                         line("1")};
    QTest::newRow("eth1") << 1 << 3 << 5
                          << QStringList{line("Tips"), line("IP is conflict with eth0!"), icon,
                                         line("1")};
    QTest::newRow("none") << 0 << 3 << 7 << QStringList();
}

void TestNetwork::conflict_isTold()
{
    QFETCH(int, adapter);
    QFETCH(int, octet);
    QFETCH(int, value);
    QFETCH(QStringList, seen);
    NetworkPage world;
    world.record.eth1_ip = 0x0600A8C0;
    world.started();
    QStringList told;
    if (!seen.isEmpty()) {
        answerNextBox(&told);
    }
    world.page().checkConflictIp(world.field(adapter, AdapterPane::Ip, octet), value);
    QCOMPARE(told, seen);
    // An entry never asks: equal addresses are accepted.
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 3), line("6")));
    QCOMPARE(world.text(0, AdapterPane::Ip), world.text(1, AdapterPane::Ip));
}

void TestNetwork::conflict_needsAllFourOctets()
{
    const NetworkSettings page;
    const QStringList octets{line("10"), line("1"), line("2"), line("77")};
    const auto conflict = [&page, &octets](const QStringList& other) {
        return page.isConflictIp(octets[0], octets[1], octets[2], octets[3], other[0], other[1],
                                 other[2], other[3]);
    };
    QVERIFY(conflict(octets));
    for (int at = 0; at < octets.size(); ++at) {
        QStringList other = octets;
        other[at] = line("9");
        QVERIFY2(!conflict(other), qPrintable(QString::number(at)));
    }
    QVERIFY(!conflict({line("10"), line("01"), line("2"), line("77")})); // texts, not numbers
}

void TestNetwork::resolver_readsServers_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("servers"); // eth0 first, backup, eth1 first, backup
    const QString none = line("0.0.0.0");
    QTest::newRow("both") << QByteArray("nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n")
                          << QStringList{line("2.2.2.2"), none, line("1.1.1.1"), none};
    QTest::newRow("tag at the start")
        << QByteArray("eth0 nameserver 1.1.1.1\n") << QStringList{none, none, none, none};
    QTest::newRow("untagged") << QByteArray("nameserver 1.1.1.1\n")
                              << QStringList{none, none, none, none};
    QTest::newRow("one word") << QByteArray("xeth0\n") << QStringList{none, none, none, none};
    QTest::newRow("two blanks") << QByteArray("nameserver  1.1.1.1 # eth0\n")
                                << QStringList{none, none, none, none};
    QTest::newRow("third is ignored")
        << QByteArray("a 1.1.1.1 eth0\na 2.2.2.2 eth0\na 3.3.3.3 eth0")
        << QStringList{line("1.1.1.1"), line("2.2.2.2"), none, none};
    QTest::newRow("longer name counts") << QByteArray("nameserver 4.4.4.4 # eth10\n")
                                        << QStringList{none, none, line("4.4.4.4"), none};
}

void TestNetwork::resolver_readsServers()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, servers);
    PanelWorld::writeFile(resolver, file);
    NetworkPage world;
    world.started();
    QStringList read;
    for (const int adapter : {0, 1}) {
        for (const auto type : {NetworkSettings::FirstDns, NetworkSettings::BackupDns}) {
            read << world.page().getDNSFromSys(Index(adapter), type).join(QLatin1Char('.'));
            world.page().updateDNSData(Index(adapter), type);
        }
    }
    QCOMPARE(read, servers);
    QCOMPARE(world.text(0, AdapterPane::FirstDns), servers.at(0));
    QCOMPARE(world.text(0, AdapterPane::BackupDns), servers.at(1));
    QCOMPARE(world.text(1, AdapterPane::FirstDns), servers.at(2));
    QCOMPARE(world.text(1, AdapterPane::BackupDns), servers.at(3));
}

void TestNetwork::resolver_isReadAndRewrittenInAnyFile()
{
    const QString path = line("/tmp/servers");
    NetworkSettings page;
    const auto read = [&page, &path](const QByteArray& content, NetworkSettings::dnsType type) {
        PanelWorld::writeFile(path, content);
        QFile file(path);
        QString address = line("untouched");
        if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
            page.getDns(file, NetworkSettings::Eth0, type, address);
        }
        return address;
    };
    const auto first = NetworkSettings::FirstDns;
    const auto second = NetworkSettings::BackupDns;
    QCOMPARE(read("nameserver 1.1.1.1 # eth0\n", first), line("1.1.1.1"));
    QCOMPARE(read("nameserver 1.1.1.1 # eth0\n", second), line("0.0.0.0"));
    QCOMPARE(read("nameserver 1.1.1.1 # eth1\n", first), line("0.0.0.0"));
    QCOMPARE(read(QByteArray(), first), line("0.0.0.0"));
    QCOMPARE(read("xeth0\n", first), QString());
    QCOMPARE(read("nameserver  1.1.1.1 # eth0\n", first), QString());
    QCOMPARE(read("nameserver 1.1.1.\xC3\xA9 # eth0\n", first), QStringLiteral("1.1.1.é"));
    PanelWorld::writeFile(path, "a 1.1.1.1 eth0\n\nb\n");
    QFile file(path);
    page.replaceDns(file, NetworkSettings::Eth0, first, line("9.9.9.9"));
    page.replaceDns(file, NetworkSettings::Eth0, second, line("8.8.8.8"));
    QVERIFY(!file.isOpen());
    QCOMPARE(PanelWorld::fileContent(path),
             QByteArray("nameserver 9.9.9.9 # eth0\nb\nnameserver 8.8.8.8 # eth0"));
    QCOMPARE(PanelWorld::fileContent(resolver), QByteArray());
    QVERIFY(QFile::remove(path));
}

void TestNetwork::resolver_missingFiles_areMade_data()
{
    QTest::addColumn<bool>("hasResolver");
    QTest::addColumn<bool>("hasBackup");
    QTest::addColumn<bool>("canCopy");
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QString>("server");
    const QString touch = line("touch /etc/resolvbak.conf");
    const QString copy = line("cp /etc/resolvbak.conf /etc/resolv.conf");
    const QString none = line("0.0.0.0");
    QTest::newRow("none") << true << true << true << QStringList() << line("1.1.1.1");
    QTest::newRow("backup") << true << false << true << QStringList{touch} << line("1.1.1.1");
    QTest::newRow("resolver") << false << true << true << QStringList{copy} << line("2.2.2.2");
    QTest::newRow("both") << false << false << true << QStringList{touch, copy} << none;
    QTest::newRow("resolver, no tool") << false << true << false << QStringList() << none;
}

void TestNetwork::resolver_missingFiles_areMade()
{
    QFETCH(bool, hasResolver);
    QFETCH(bool, hasBackup);
    QFETCH(bool, canCopy);
    QFETCH(QStringList, commands);
    QFETCH(QString, server);
    NetworkPage world;
    world.started();
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth0\n");
    PanelWorld::writeFile(backup, "nameserver 2.2.2.2 # eth0\n");
    QVERIFY(hasResolver || QFile::remove(resolver));
    QVERIFY(hasBackup || QFile::remove(backup));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", canCopy ? path : "/nowhere");
    const QStringList octets =
        world.page().getDNSFromSys(NetworkSettings::Eth0, NetworkSettings::FirstDns);
    qputenv("PATH", path);
    QCOMPARE(octets, server.split(QLatin1Char('.')));
    QCOMPARE(PanelWorld::commands(), commands);
    QCOMPARE(QFile::exists(resolver), canCopy);
    QVERIFY(QFile::exists(backup));
}

void TestNetwork::resolver_otherLines_stayByteForByte()
{
    PanelWorld::writeFile(resolver, "# caf\xE9\n\nnameserver 7.7.7.7\nnameserver 1.1.1.1 # eth1\n"
                                    "nameserver 2.2.2.2 # eth0\n");
    NetworkPage world;
    world.started();
    world.page().setDNSToSys(NetworkSettings::Eth0, NetworkSettings::FirstDns, line("9.9.9.9"));
    QCOMPARE(PanelWorld::fileContent(resolver),
             QByteArray("# caf\xE9\nnameserver 7.7.7.7\nnameserver 1.1.1.1 # eth1\n"
                        "nameserver 9.9.9.9 # eth0"));
}

void TestNetwork::resolver_backupWithoutLine_isAppended()
{
    PanelWorld::writeFile(resolver, "nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n");
    NetworkPage world;
    world.started();
    world.page().setDNSToSys(NetworkSettings::Eth0, NetworkSettings::BackupDns, line("9.9.9.9"));
    QCOMPARE(PanelWorld::fileContent(resolver),
             QByteArray("nameserver 1.1.1.1 # eth1\nnameserver 2.2.2.2 # eth0\n"
                        "nameserver 9.9.9.9 # eth0"));
    PanelWorld::writeFile(resolver, "nameserver 2.2.2.2 # eth0\n");
    world.page().setDNSToSys(NetworkSettings::Eth1, NetworkSettings::BackupDns, line("8.8.8.8"));
    QCOMPARE(world.page()
                 .getDNSFromSys(NetworkSettings::Eth1, NetworkSettings::FirstDns)
                 .join(QLatin1Char('.')),
             line("8.8.8.8"));
}

void TestNetwork::resolver_unopenable_changesNothing()
{
    NetworkPage world;
    world.started();
    QFile::remove(resolver);
    QVERIFY(QDir().mkdir(resolver)); // cannot be opened, whoever asks
    QVERIFY(world.enter(world.field(0, AdapterPane::FirstDns, 0), line("9")));
    QCOMPARE(world.page().getDNSFromSys(NetworkSettings::Eth0, NetworkSettings::FirstDns),
             QStringList());
    world.page().updateDNSData(NetworkSettings::Eth0, NetworkSettings::FirstDns);
    QCOMPARE(world.text(0, AdapterPane::FirstDns), line("0.0.0.0"));
    QVERIFY(QDir().rmdir(resolver));
}

void TestNetwork::resolver_readOnly_isReadAndLeftAlone()
{
    const QByteArray content("nameserver 1.1.1.1 # eth0\n\n");
    PanelWorld::writeFile(resolver, content);
    NetworkPage world;
    world.started();
    const QFile::Permissions before = QFile::permissions(resolver);
    QVERIFY(QFile::setPermissions(resolver, QFile::ReadOwner));
    const NoOverride powers;
    QVERIFY(world.enter(world.field(0, AdapterPane::FirstDns, 0), line("9")));
    QVERIFY(QFile::setPermissions(resolver, before));
    QCOMPARE(PanelWorld::fileContent(resolver), content);
    QCOMPARE(PanelWorld::commands(), usualRoutes());
    QCOMPARE(world.text(0, AdapterPane::FirstDns), line("9.1.1.1")); // as typed
    world.page().updateDNSData(NetworkSettings::Eth0, NetworkSettings::FirstDns);
    QCOMPARE(world.text(0, AdapterPane::FirstDns), line("1.1.1.1")); // as it is
}

void TestNetwork::routes_followTheRegister_data()
{
    QTest::addColumn<int>("preference");
    QTest::addColumn<int>("metric0");
    QTest::addColumn<int>("metric1");
    QTest::newRow("none") << 0 << 1 << 1;
    QTest::newRow("eth0") << 1 << 0 << 1;
    QTest::newRow("eth1") << 2 << 1 << 0;
    QTest::newRow("no adapter") << 9 << 1 << 1;
}

void TestNetwork::routes_followTheRegister()
{
    QFETCH(int, preference);
    QFETCH(int, metric0);
    QFETCH(int, metric1);
    NetworkPage world;
    world.started();
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, char(preference)));
    world.page().updateDefaultGatewayFromReg();
    const QStringList expected = routes(line("192.168.1.1"), metric0, line("10.0.0.1"), metric1);
    QCOMPARE(PanelWorld::commands(), expected);
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
    PanelWorld::clearCommands();
    world.page().setGateway(preference); // and as given
    QCOMPARE(PanelWorld::commands(), expected);
}

void TestNetwork::routes_choosing_runsTheSlotOncePerBox()
{
    for (const int chosen : {0, 1}) {
        NetworkPage world;
        world.started();
        NoticeListener runtime(noticePipe);
        world.settings.setValue(line("General/buzzer"), line("on"));
        Looks looks("route", "od -An -tu1 -N1 -j180 /hmi_data/sfw.dat");
        world.pane(chosen).defaultBox().setCurrentIndex(1);
        // Each time the routes come first, then the register.
        QCOMPARE(looks.take(), repeated(4, line("0")) + repeated(4, line("1")));
        const QStringList rebuilt = routes(line("192.168.1.1"), 0, line("10.0.0.1"), 1);
        // The second box follows and runs the slot as well; only the first one beeps.
        QCOMPARE(PanelWorld::commands(), QStringList(beep) + rebuilt + rebuilt);
        QCOMPARE(world.pane(0).defaultBox().currentIndex(), 1);
        QCOMPARE(world.pane(1).defaultBox().currentIndex(), 1);
        QCOMPARE(storedPreference(), '\1');
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({78, 78}));
        PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\0'));
        PanelWorld::clearCommands();
    }
}

void TestNetwork::routes_button_storesTheAdapterNumber_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<QString>("gateway");
    QTest::addColumn<int>("metric0");
    QTest::newRow("eth0") << 0 << line("192.168.1.1") << 1;
    QTest::newRow("eth1") << 1 << line("10.0.0.1") << 0;
}

void TestNetwork::routes_button_storesTheAdapterNumber()
{
    QFETCH(int, adapter);
    QFETCH(QString, gateway);
    QFETCH(int, metric0);
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    const QByteArray before = PanelWorld::fileContent(byteArea);
    for (const int shown : {0, 1}) {
        world.gatewayLabel(shown).clear();
        world.networkLabel(shown).clear();
    }
    world.pane(adapter).defaultButton().click();
    QByteArray expected = before;
    expected[preferenceByte] = char(adapter);
    QCOMPARE(PanelWorld::fileContent(byteArea), expected); // one byte of the four passed
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({78}));
    QCOMPARE(PanelWorld::commands(), routes(line("192.168.1.1"), metric0, line("10.0.0.1"), 1));
    for (const int shown : {0, 1}) {
        QCOMPARE(world.gatewayLabel(shown).text(), line("Gateway:") + gateway);
        QCOMPARE(world.networkLabel(shown).text(), line("Network:"));
    }
}

void TestNetwork::routes_unknownPreference_isIgnored()
{
    NetworkPage world(1);
    world.started();
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\2'));
    world.page().refresh();
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(storedPreference(), '\2');
}

void TestNetwork::dhcp_dynamicAndBack_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<quint32>("notice");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("gateway");
    QTest::newRow("eth0") << 0 << 67U << line("192.168.0.5") << line("192.168.1.1");
    QTest::newRow("eth1") << 1 << 76U << line("10.0.0.6") << line("10.0.0.1");
}

void TestNetwork::dhcp_dynamicAndBack()
{
    QFETCH(int, adapter);
    QFETCH(quint32, notice);
    QFETCH(QString, address);
    QFETCH(QString, gateway);
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    world.settings.setValue(line("General/buzzer"), line("on"));
    const QString number = QString::number(adapter);
    PanelWorld::writeFile(resolver, "nameserver 8.8.8.8 # eth" + number.toLatin1());
    AdapterPane& pane = world.pane(adapter);
    pane.modeBox().setCurrentIndex(1);
    QTRY_COMPARE(PanelWorld::commands(),
                 QStringList({beep, QStringLiteral(
                                        "udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid")
                                        .arg(number)}));
    QVERIFY(PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
    QVERIFY(!PanelWorld::areaBit(bitArea, dhcpBit[1 - adapter]));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice}));
    for (const QLineEdit* field : pane.fields()) {
        QCOMPARE(field->text(), line("0"));
        QVERIFY(!field->isEnabled());
    }
    QVERIFY(!world.macField(adapter).isEnabled());
    QVERIFY(world.field(1 - adapter, AdapterPane::Ip, 0)->isEnabled());

    PanelWorld::writeFile(QStringLiteral("/var/run/udhcpc%1.pid").arg(number), "321\n");
    PanelWorld::clearCommands();
    pane.modeBox().setCurrentIndex(0);
    QCOMPARE(PanelWorld::commands(),
             QStringList({beep, line("kill 321"),
                          QStringLiteral("ifconfig eth%1 %2 up").arg(number, address)}));
    QVERIFY(QFile::exists(QStringLiteral("/var/run/udhcpc%1.pid").arg(number)));
    QCOMPARE(world.text(adapter, AdapterPane::Ip), address);
    QCOMPARE(world.text(adapter, AdapterPane::Gateway), gateway);
    QCOMPARE(world.text(adapter, AdapterPane::FirstDns), line("8.8.8.8"));
    for (const QLineEdit* field : pane.fields()) {
        QVERIFY(field->isEnabled());
    }
    QVERIFY(world.macField(adapter).isEnabled());
    QVERIFY(!PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice}));
}

void TestNetwork::dhcp_switchedOff_asksOnlyForEth1()
{
    for (const int adapter : {0, 1}) {
        NetworkPage world;
        world.started();
        world.pane(adapter).disableSwitch().click();
        PanelWorld::clearCommands();
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true); // by the runtime
        world.page().refresh();
        QCOMPARE(world.pane(adapter).modeBox().currentIndex(), 1);
        QTRY_COMPARE(PanelWorld::commands().filter(line("udhcpc -i eth1")).size(), adapter);
        QCOMPARE(PanelWorld::commands().filter(line("udhcpc -i eth0")).size(), 0);
        QVERIFY(PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
        const Cable cable(adapter);
        QTest::qWait(severalPolls);
        QCOMPARE(world.told.size(), adapter == 1 ? 3 : 0);
        init();
    }
}

void TestNetwork::dhcp_withoutABox_isOfTheAdapterGiven()
{
    for (const int adapter : {0, 1}) {
        NetworkPage world;
        world.started();
        NoticeListener runtime(noticePipe);
        world.page().updateDHCPConfig(Index(adapter), true);
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({adapter ? 76U : 67U}));
        QVERIFY(PanelWorld::areaBit(bitArea, dhcpBit[adapter]));
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QVERIFY(world.field(1 - adapter, AdapterPane::Ip, 0)->isEnabled());
        QTRY_COMPARE(
            PanelWorld::commands(),
            QStringList(QStringLiteral("udhcpc -i eth%1 -t 100 -T 1 -A 1 -p /var/run/udhcpc%1.pid")
                            .arg(adapter)));
        init();
    }
}

void TestNetwork::dhcp_box_saysWhichAdapter()
{
    for (const int adapter : {0, 1}) {
        NetworkPage world;
        world.started();
        NetworkSettings& page = world.page();
        QComboBox& box = world.pane(adapter).modeBox();
        QVERIFY(
            disconnect(&box, SIGNAL(currentIndexChanged(int)), &page, SLOT(onSetCombobox(int))));
        connect(&box, QOverload<int>::of(&QComboBox::currentIndexChanged), &page,
                [&page, adapter](int index) { // the other adapter's number
                    page.updateDHCPConfig(Index(1 - adapter), index != 0);
                });
        NoticeListener runtime(noticePipe);
        // Synchronous signs of a client's start and of static mode.
        PanelWorld::writeFile(line("/var/run/udhcpc0.pid"), "321\n");
        PanelWorld::writeFile(line("/var/run/udhcpc1.pid"), "322\n");
        const QString kill = adapter ? line("kill 322") : line("kill 321");
        box.setCurrentIndex(1);
        QCOMPARE(PanelWorld::commands().filter(line("kill")), QStringList(kill));
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({adapter ? 76U : 67U}));
        QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        QVERIFY(world.field(1 - adapter, AdapterPane::Ip, 0)->isEnabled());
        box.setCurrentIndex(0);
        QCOMPARE(PanelWorld::commands().filter(line("kill")), QStringList({kill, kill}));
        QVERIFY(world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
        // Of the number given, it asks only whether that adapter is switched off.
        world.pane(1 - adapter).disableSwitch().click();
        PanelWorld::clearCommands();
        runtime.takeNumbers();
        box.setCurrentIndex(1);
        QCOMPARE(PanelWorld::commands().filter(line("kill")),
                 adapter ? QStringList(kill) : QStringList());
        QCOMPARE(runtime.takeNumbers(), QList<quint32>({adapter ? 76U : 67U}));
        init();
    }
}

void TestNetwork::dhcp_twice_killsTheFirstClient()
{
    NetworkPage world;
    world.started();
    world.page().udhcpc(NetworkSettings::Eth0);
    PanelWorld::writeFile(line("/var/run/udhcpc0.pid"), "99\n");
    world.page().udhcpc(NetworkSettings::Eth0);
    const QString client = line("udhcpc -i eth0 -t 100 -T 1 -A 1 -p /var/run/udhcpc0.pid");
    // Started in the background: the first may be written down after the kill.
    QTRY_COMPARE(PanelWorld::commands().size(), 3);
    QCOMPARE(PanelWorld::commands().count(client), 2);
    QVERIFY(PanelWorld::commands().contains(line("kill 99")));
    QCOMPARE(PanelWorld::commands().constLast(), client);
}

void TestNetwork::dhcp_noLease_keepsPolling_data()
{
    QTest::addColumn<int>("adapter");
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestNetwork::dhcp_noLease_keepsPolling()
{
    QFETCH(int, adapter);
    NetworkPage world;
    world.started();
    TimerLog timers;
    world.pane(adapter).modeBox().setCurrentIndex(1);
    QTRY_VERIFY(timers.fired.size() >= 10); // the adapter does not exist in this panel
    QCOMPARE(timers.fired.count(pollInterval), timers.fired.size());
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(world.text(adapter, AdapterPane::Ip), line("0.0.0.0"));
    QCOMPARE(world.page().getipAddress(QStringLiteral("eth%1").arg(adapter)), QStringList());
}

void TestNetwork::lease_isStoredAsIfTyped_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<QList<int>>("recordBytes"); // address, mask, gateway
    QTest::addColumn<QList<int>>("areaBytes");
    QTest::addColumn<quint32>("notice");
    QTest::addColumn<QStringList>("routes");
    QTest::newRow("eth0") << 0 << QList<int>{41, 49, 45} << QList<int>{751, 771, 779} << 67U
                          << routes(line("10.1.2.1"), 1, line("10.0.0.1"), 1);
    QTest::newRow("eth1") << 1 << QList<int>{174, 182, 178} << QList<int>{803, 823, 831} << 76U
                          << routes(line("192.168.1.1"), 1, line("10.1.2.1"), 1);
}

void TestNetwork::lease_isStoredAsIfTyped()
{
    QFETCH(int, adapter);
    QFETCH(QList<int>, recordBytes);
    QFETCH(QList<int>, areaBytes);
    QFETCH(quint32, notice);
    QFETCH(QStringList, routes);
    const QList<QByteArray> values = {QByteArray("\x0A\x01\x02\x4D", 4),
                                      QByteArray("\xFF\xFF\x00\x00", 4),
                                      QByteArray("\x0A\x01\x02\x01", 4)};
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    world.pane(adapter).modeBox().setCurrentIndex(1);
    QTest::qWait(severalPolls);
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::commands().size(), 1); // the client
    PanelWorld::clearCommands();
    const QString server = QStringLiteral("nameserver %1 # eth%2\n");
    PanelWorld::writeFile(resolver, (server.arg(line("8.8.8.8")).arg(adapter) +
                                     server.arg(line("9.9.9.9")).arg(adapter))
                                        .toLatin1());

    QByteArray area = PanelWorld::fileContent(wordArea);
    QByteArray record(reinterpret_cast<const char*>(&world.record), sizeof world.record);
    const Cable cable(adapter);
    QTRY_COMPARE(world.told.size(), 3);
    for (int step = 0; step < 3; ++step) {
        QCOMPARE(world.told.at(step).type, step + 2);
        QCOMPARE(world.told.at(step).commands, QStringList());
        record.replace(recordBytes.at(step), 4, values.at(step));
        QCOMPARE(world.told.at(step).record, record);
        QCOMPARE(world.told.at(step).registers, area);
        area.replace(areaBytes.at(step), 8, values.at(step) + QByteArray(4, '\0'));
    }
    QCOMPARE(PanelWorld::fileContent(wordArea), area);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>({notice})); // of the mode only
    QCOMPARE(PanelWorld::commands(), routes);
    QCOMPARE(world.text(adapter, AdapterPane::Ip), line("10.1.2.77"));
    QCOMPARE(world.text(adapter, AdapterPane::Mask), line("255.255.0.0"));
    QCOMPARE(world.text(adapter, AdapterPane::Gateway), line("10.1.2.1"));
    QCOMPARE(world.text(adapter, AdapterPane::FirstDns), line("8.8.8.8"));
    QCOMPARE(world.text(adapter, AdapterPane::BackupDns), line("9.9.9.9"));
    QVERIFY(!world.field(adapter, AdapterPane::Ip, 0)->isEnabled());
    QTest::qWait(severalPolls);
    QCOMPARE(world.told.size(), 3); // nobody looks any more

    world.pane(adapter).modeBox().setCurrentIndex(0);
    QCOMPARE(world.text(adapter, AdapterPane::Ip), line("10.1.2.77"));
}

void TestNetwork::lease_afterStart_isTaken()
{
    for (const int adapter : {0, 1}) {
        PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], true);
        TimerLog timers;
        NetworkPage world;
        world.started();
        QTRY_VERIFY(timers.fired.size() >= 2);
        QCOMPARE(timers.fired.count(pollInterval), timers.fired.size());
        const Cable cable(adapter);
        QTRY_COMPARE(world.told.size(), 3);
        QCOMPARE(world.text(adapter, AdapterPane::Ip), line("10.1.2.77"));
        QCOMPARE(world.text(1 - adapter, AdapterPane::Ip).contains(line("10.1.2.77")), false);
        init();
    }
}

void TestNetwork::poll_endsWithDynamicMode_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<bool>("switchedOff"); // or else static
    QTest::addColumn<QStringList>("commands");
    for (const int adapter : {0, 1}) {
        const QString name = QStringLiteral("eth%1").arg(adapter);
        QTest::newRow(qPrintable(name + line(" off")))
            << adapter << true
            << QStringList{QStringLiteral("ifconfig %1 down").arg(name), line("sync")};
        QTest::newRow(qPrintable(name + line(" static")))
            << adapter << false
            << QStringList{line("kill 321"),
                           QStringLiteral("ifconfig %1 %2 up")
                               .arg(name, adapter ? line("10.0.0.6") : line("192.168.0.5"))};
    }
}

void TestNetwork::poll_endsWithDynamicMode()
{
    QFETCH(int, adapter);
    QFETCH(bool, switchedOff);
    QFETCH(QStringList, commands);
    NetworkPage world;
    world.started();
    world.pane(adapter).modeBox().setCurrentIndex(1);
    QTRY_COMPARE(PanelWorld::commands().size(), 1);
    PanelWorld::clearCommands();
    PanelWorld::writeFile(QStringLiteral("/var/run/udhcpc%1.pid").arg(adapter), "321\n");
    if (switchedOff) {
        world.pane(adapter).disableSwitch().click();
    } else {
        world.pane(adapter).modeBox().setCurrentIndex(0);
    }
    QCOMPARE(PanelWorld::commands(), commands); // the client outlives the switch
    const Cable cable(adapter);
    QTest::qWait(severalPolls);
    QCOMPARE(world.told.size(), 0);
    QCOMPARE(PanelWorld::areaBit(bitArea, dhcpBit[adapter]), switchedOff);
}

void TestNetwork::liveAddress_isTheFirstOfAReadyAdapter()
{
    const NetworkSettings page;
    const QString eth0 = line("eth0");
    QCOMPARE(page.getipAddress(eth0), QStringList());
    Cable cable(0, line("fd00::1/64"));
    QCOMPARE(page.getipAddress(eth0), QStringList());
    cable.addAddress(line("10.1.2.77/16"));
    cable.addAddress(line("10.9.9.9/8"));
    const QStringList first{line("10.1.2.77"), line("255.255.0.0")};
    QTRY_COMPARE(page.getipAddress(eth0), first); // the kernel takes its time with links
    QCOMPARE(page.getipAddress(line("eth1")), QStringList());
    cable.setFarEnd(false); // up, and no link
    QTRY_COMPARE(page.getipAddress(eth0), QStringList());
    cable.setFarEnd(true);
    QTRY_COMPARE(page.getipAddress(eth0), first);
    cable.setUp(false);
    QCOMPARE(page.getipAddress(eth0), QStringList());
}

void TestNetwork::switch_offAndOn_static_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<QString>("address");
    QTest::newRow("eth0") << 0 << line("192.168.0.5");
    QTest::newRow("eth1") << 1 << line("10.0.0.6");
}

void TestNetwork::switch_offAndOn_static()
{
    QFETCH(int, adapter);
    QFETCH(QString, address);
    NetworkPage world;
    world.started();
    NoticeListener runtime(noticePipe);
    AdapterPane& pane = world.pane(adapter);
    pane.disableSwitch().click();
    QCOMPARE(switchInFile(adapter), line("false")); // at once: no event has been handled since
    QCOMPARE(PanelWorld::commands(),
             QStringList({QStringLiteral("ifconfig eth%1 down").arg(adapter), line("sync")}));
    QCOMPARE(pane.disableSwitch().styleSheet(),
             line("border-image:url(:/Resources/switch_on.png);"));
    QVERIFY(PanelWorld::areaBit(bitArea, disabledBit[adapter]));
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[1 - adapter]));
    for (const QLineEdit* field : pane.fields()) {
        QCOMPARE(field->text(), line("0"));
        QVERIFY(!field->isEnabled());
    }
    QVERIFY(!world.macField(adapter).isEnabled());
    QVERIFY(!pane.modeBox().isEnabled());
    QVERIFY(world.pane(1 - adapter).modeBox().isEnabled());
    for (const int shown : {0, 1}) {
        QCOMPARE(hiddenChoices(world.pane(shown).defaultBox()), QList<int>({adapter + 1}));
    }
    PanelWorld::clearCommands();
    PanelWorld::writeFile(QStringLiteral("/var/run/udhcpc%1.pid").arg(adapter), "321\n");
    pane.disableSwitch().click();
    QCOMPARE(switchInFile(adapter), line("true"));
    QCOMPARE(PanelWorld::commands(),
             QStringList(
                 {line("kill 321"),
                  QStringLiteral("ifconfig eth%1 %2 up").arg(QString::number(adapter), address)}) +
                 usualRoutes());
    for (const int shown : {0, 1}) {
        QCOMPARE(hiddenChoices(world.pane(shown).defaultBox()), QList<int>());
    }
    QCOMPARE(pane.disableSwitch().styleSheet(),
             line("border-image:url(:/Resources/switch_off.png);"));
    QVERIFY(!PanelWorld::areaBit(bitArea, disabledBit[adapter]));
    QVERIFY(pane.modeBox().isEnabled());
    for (const QLineEdit* field : pane.fields()) {
        QVERIFY(field->isEnabled());
    }
    QVERIFY(world.macField(adapter).isEnabled());
    QCOMPARE(world.text(adapter, AdapterPane::Ip), address);
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestNetwork::switch_on_dynamic()
{
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    NetworkPage world;
    world.started();
    world.pane(1).disableSwitch().click();
    PanelWorld::clearCommands();
    // The servers are read first, one after the other: each finds that a file is missing.
    QVERIFY(QFile::remove(backup));
    const BusyTool touch("touch", ". /panel/lib/record\nrecord \"touch $*\"\nexit");
    world.pane(1).disableSwitch().click();
    QTRY_COMPARE(PanelWorld::commands(),
                 repeated(2, line("touch /etc/resolvbak.conf")) +
                     QStringList(line("udhcpc -i eth1 -t 100 -T 1 -A 1 -p /var/run/udhcpc1.pid")));
    for (const QLineEdit* field : world.pane(1).fields()) {
        QCOMPARE(field->text(), line("0"));
        QVERIFY(!field->isEnabled());
    }
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 1);
    QVERIFY(world.pane(1).modeBox().isEnabled());
    const Cable cable(1);
    QTRY_COMPARE(world.text(1, AdapterPane::Ip), line("10.1.2.77"));
}

void TestNetwork::switch_on_takesTheModeAnew_data()
{
    QTest::addColumn<int>("adapter");
    QTest::addColumn<bool>("dynamic"); // when it is switched on, and not when it was switched off
    QTest::newRow("eth0 static") << 0 << false;
    QTest::newRow("eth0 dynamic") << 0 << true;
    QTest::newRow("eth1 static") << 1 << false;
    QTest::newRow("eth1 dynamic") << 1 << true;
}

void TestNetwork::switch_on_takesTheModeAnew()
{
    QFETCH(int, adapter);
    QFETCH(bool, dynamic);
    PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], !dynamic);
    NetworkPage world;
    world.started();
    AdapterPane& pane = world.pane(adapter);
    pane.disableSwitch().click();
    QCOMPARE(pane.modeBox().currentIndex(), dynamic ? 0 : 1);
    PanelWorld::setAreaBit(bitArea, dhcpBit[adapter], dynamic); // by the runtime
    pane.disableSwitch().click();
    QCOMPARE(pane.modeBox().currentIndex(), dynamic ? 1 : 0);
    QCOMPARE(world.field(adapter, AdapterPane::Ip, 0)->isEnabled(), !dynamic);
    QCOMPARE(PanelWorld::areaBit(bitArea, dhcpBit[adapter]), dynamic);
}

void TestNetwork::switch_off_leavesTheDefaultChoice()
{
    NetworkPage world;
    world.started();
    world.pane(0).defaultBox().setCurrentIndex(2);
    QCOMPARE(storedPreference(), '\2');
    PanelWorld::clearCommands();
    world.pane(1).disableSwitch().click();
    // The gateway of the adapter is gone with its fields; once for each box.
    const QStringList rebuilt = routes(line("192.168.1.1"), 1, line("0.0.0.0"), 1);
    QCOMPARE(PanelWorld::commands(),
             rebuilt + rebuilt + QStringList({line("ifconfig eth1 down"), line("sync")}));
    for (const int shown : {0, 1}) {
        QComboBox& box = world.pane(shown).defaultBox();
        QCOMPARE(box.currentIndex(), 0);
        QVERIFY(qobject_cast<QListView*>(box.view())->isRowHidden(2));
    }
    QCOMPARE(storedPreference(), '\0');
    world.pane(1).disableSwitch().click();
    for (const int shown : {0, 1}) {
        QComboBox& box = world.pane(shown).defaultBox();
        QVERIFY(!qobject_cast<QListView*>(box.view())->isRowHidden(2));
    }
}

void TestNetwork::switch_off_keepsTheOtherAsDefault_data()
{
    QTest::addColumn<int>("adapter"); // switched off and on again
    QTest::newRow("eth0") << 0;
    QTest::newRow("eth1") << 1;
}

void TestNetwork::switch_off_keepsTheOtherAsDefault()
{
    QFETCH(int, adapter);
    NetworkPage world;
    world.started();
    const int chosen = 2 - adapter;
    world.pane(0).defaultBox().setCurrentIndex(chosen);
    NoticeListener runtime(noticePipe);
    PanelWorld::clearCommands();
    for (const bool off : {true, false}) {
        world.pane(adapter).disableSwitch().click();
        QCOMPARE(hiddenChoices(world.pane(0).defaultBox()).contains(adapter + 1), off);
        for (const int shown : {0, 1}) {
            QCOMPARE(world.pane(shown).defaultBox().currentIndex(), chosen);
        }
        QCOMPARE(storedPreference(), char(chosen));
    }
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
    // Once, when it is switched on again: no box has run its slot.
    QCOMPARE(PanelWorld::commands().filter(line("route")),
             routes(line("192.168.1.1"), 1 - adapter, line("10.0.0.1"), adapter));
}

void TestNetwork::switch_settingsNotWritable_loseNothing_data()
{
    QTest::addColumn<bool>("full"); // or else nobody may make a file there
    QTest::newRow("disk is full") << true;
    QTest::newRow("folder is locked") << false;
}

void TestNetwork::switch_settingsNotWritable_loseNothing()
{
    QFETCH(bool, full);
    const QFileInfo file(settingsPath);
    NetworkPage world;
    world.started();
    world.settings.setValue(line("General/buzzer"), line("off"));
    world.settings.sync();
    const QByteArray stored = PanelWorld::fileContent(settingsPath);
    QVERIFY(stored.contains("buzzer=off"));
    const QStringList files = file.dir().entryList(QDir::Files);
    {
        const BusyTool ifconfig("ifconfig", "ulimit -S -f unlimited"); // the log has room
        const BusyTool sync("sync", "ulimit -S -f unlimited");
        const QFile::Permissions before = QFile::permissions(file.path());
        std::unique_ptr<NoRoom> noRoom;
        std::unique_ptr<NoOverride> noOverride;
        if (full) {
            noRoom = std::make_unique<NoRoom>();
        } else {
            noOverride = std::make_unique<NoOverride>();
            QVERIFY(QFile::setPermissions(file.path(), QFile::ReadOwner | QFile::ExeOwner));
        }
        world.pane(0).disableSwitch().click();
        QVERIFY(QFile::setPermissions(file.path(), before));
    }
    QCOMPARE(PanelWorld::fileContent(settingsPath), stored);
    QCOMPARE(file.dir().entryList(QDir::Files), files);
    QCOMPARE(PanelWorld::commands(), QStringList({line("ifconfig eth0 down"), line("sync")}));
    QVERIFY(full || PanelWorld::areaBit(bitArea, disabledBit[0]));
    QVERIFY(!world.field(0, AdapterPane::Ip, 0)->isEnabled());
    world.pane(1).disableSwitch().click();
    // What could not be stored is now, beside the new choice.
    QCOMPARE(switchInFile(0), line("false"));
    QCOMPARE(switchInFile(1), line("false"));
    world.pane(0).disableSwitch().click();
    world.pane(1).disableSwitch().click();
    QVERIFY(world.field(0, AdapterPane::Ip, 0)->isEnabled());
    QCOMPARE(PanelWorld::fileContent(settingsPath), stored);
}

void TestNetwork::refresh_followsTheRegisters()
{
    NetworkPage world;
    world.started();
    PanelWorld::patchFile(byteArea, preferenceByte, QByteArray(1, '\1'));
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    world.page().refresh();
    QCOMPARE(world.pane(0).modeBox().currentIndex(), 0);
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 1);
    QCOMPARE(world.pane(0).defaultBox().currentIndex(), 1);
    QCOMPARE(world.pane(1).defaultBox().currentIndex(), 1);
    QCOMPARE(PanelWorld::commands().filter(line("route add")).size(), 4);
    QTRY_COMPARE(PanelWorld::commands().filter(line("udhcpc -i eth1")).size(), 1);
}

void TestNetwork::refresh_withoutChange_runsNothing()
{
    NetworkPage world;
    world.started();
    for (int round = 0; round < 3; ++round) {
        world.page().refresh();
    }
    QCOMPARE(PanelWorld::commands(), QStringList());
}

void TestNetwork::refresh_keepsTheChosenGateway()
{
    NetworkPage world;
    world.started();
    world.pane(1).defaultButton().click();
    world.page().onChangeLanguage(Settings::Chinese);
    QCOMPARE(world.gatewayLabel(0).text(), QStringLiteral("    网关：10.0.0.1"));
    QCOMPARE(world.tabs().tabText(1), QStringLiteral("有线网络1"));
    QCOMPARE(world.pane(0).modeBox().itemText(1), QStringLiteral("动态IP"));
    QCOMPARE(world.pane(1).defaultBox().itemText(0), QStringLiteral("自动"));
    QCOMPARE(world.page().findChild<QGroupBox*>()->title(), QStringLiteral("默认上网卡信息："));
    world.page().onChangeLanguage(Settings::English);
    QCOMPARE(world.tabs().tabText(0), line("network0"));
    QCOMPARE(world.gatewayLabel(0).text(), line("Gateway:10.0.0.1"));
}

void TestNetwork::refresh_oneAdapter_leavesTheOtherAlone()
{
    PanelWorld::setAreaBit(bitArea, dhcpBit[1], true);
    NetworkPage world(1);
    world.started();
    NoticeListener runtime(noticePipe);
    PanelWorld::writeFile(line("/var/run/udhcpc1.pid"), "322\n"); // a client's start ends this one
    world.page().refresh();
    QCOMPARE(world.pane(1).modeBox().currentIndex(), 0);
    QCOMPARE(PanelWorld::commands(), QStringList());
    QCOMPARE(runtime.takeNumbers(), QList<quint32>());
}

void TestNetwork::language_changesEveryText_data()
{
    QTest::addColumn<int>("language");
    QTest::addColumn<QStringList>("captions");
    QTest::addColumn<QStringList>("others"); // the group's title, the buttons
    QTest::addColumn<QStringList>("modes");
    QTest::addColumn<QStringList>("adapters");
    QTest::newRow("Chinese") << int(Settings::Chinese)
                             << QStringLiteral("禁用网络：|网络：|    网关：0.0.0.0|设置：|"
                                               "外网Ping测试：|IP地址：|子网掩码：|    网关：|"
                                               "DNS1：|DNS2：|MAC地址：")
                                    .split(QLatin1Char('|'))
                             << QStringList{QStringLiteral("默认上网卡信息："),
                                            QStringLiteral("设为默认上网卡"),
                                            QStringLiteral("测试")}
                             << QStringList{QStringLiteral("静态IP"), QStringLiteral("动态IP")}
                             << QStringList{QStringLiteral("自动"), QStringLiteral("有线网络0"),
                                            QStringLiteral("有线网络1")};
    QTest::newRow("English") << int(Settings::English)
                             << QStringList{line("Disable Network:"),
                                            line("Network:"),
                                            line("Gateway:0.0.0.0"),
                                            line("Setting:"),
                                            line("OuterNet Ping Test:"),
                                            line("IP Address:"),
                                            line("Subnet Mask:"),
                                            line("Gateway:"),
                                            line("DNS1:"),
                                            line("DNS2:"),
                                            line("MAC Address:")}
                             << QStringList{line("Default Network Adapter Info:"),
                                            line("Set Default Network Adapter"), line("test")}
                             << QStringList{line("Static IP"), line("Dynamic IP")}
                             << QStringList{line("Auto"), line("network0"), line("network1")};
}

void TestNetwork::language_changesEveryText()
{
    QFETCH(int, language);
    QFETCH(QStringList, captions);
    QFETCH(QStringList, others);
    QFETCH(QStringList, modes);
    QFETCH(QStringList, adapters);
    NetworkPage world;
    world.started();
    world.page().onChangeLanguage(language == Settings::Chinese ? Settings::English
                                                                : Settings::Chinese);
    world.page().onChangeLanguage(Settings::Language(language));
    for (const int shown : {0, 1}) {
        AdapterPane& pane = world.pane(shown);
        QCOMPARE(captionsOf(pane), captions);
        QCOMPARE(QStringList({pane.findChild<QGroupBox*>()->title(), pane.defaultButton().text(),
                              pane.testButton().text()}),
                 others);
        QCOMPARE(choicesOf(pane.modeBox()), modes);
        QCOMPARE(choicesOf(pane.defaultBox()), adapters);
        QCOMPARE(world.tabs().tabText(shown), adapters.at(shown + 1));
    }
    QCOMPARE(PanelWorld::commands(), QStringList()); // no text counts as a choice
}

void TestNetwork::ping_runsInOrderAndShowsTheResult_data()
{
    QTest::addColumn<int>("tab");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QImage>("lampAfter");
    const QString failed = line("test failed");
    const int critical = QMessageBox::Critical;
    QTest::newRow("reply") << 1 << QByteArray("64 bytes from x: ttl=63") << line("test successful")
                           << int(QMessageBox::Information) << lampPicture("1");
    QTest::newRow("none") << 0 << QByteArray("nothing") << failed << critical << lampPicture("0");
    QTest::newRow("missing") << 1 << QByteArray() << failed << critical << lampPicture("0");
}

void TestNetwork::ping_runsInOrderAndShowsTheResult()
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
    PanelWorld::writeFile(line("ping.txt"), "ttl of an earlier test");
    world.pane(tab).testButton().click();
    QTRY_COMPARE(PanelWorld::commands(), QStringList({line("rm ping.txt"), line("killall ping"),
                                                      line("ping www.example.com -W 3 -c 1")}));
    QTRY_COMPARE(PanelWorld::fileContent(line("ping.txt")), QByteArray());
    for (const int shown : {0, 1}) {
        QCOMPARE(lamp(world.pane(shown)), lampPicture("2"));
        QVERIFY(looksRunning(world.pane(shown).testButton()));
    }
    QFile::remove(line("ping.txt"));
    if (!output.isEmpty()) {
        PanelWorld::writeFile(line("ping.txt"), output);
    }
    QStringList seen;
    QList<QImage> lampsUnderTheBox;
    answerNextBox(&seen, [&] {
        lampsUnderTheBox << lamp(world.pane(0)) << lamp(world.pane(1));
        QVERIFY(looksRunning(world.pane(0).testButton()));
        QVERIFY(looksRunning(world.pane(1).testButton()));
    });
    world.page().ping_test();
    QCOMPARE(seen,
             QStringList({QStringLiteral("设备详细信息"), text, QString::number(icon), line("1")}));
    QCOMPARE(lampsUnderTheBox, QList<QImage>({lampAfter, lampAfter}));
    for (const int shown : {0, 1}) {
        QCOMPARE(lamp(world.pane(shown)), lampAfter);
        QVERIFY(looksIdle(world.pane(shown).testButton()));
    }
}

void TestNetwork::ping_runsInTheBackground()
{
    const QString clicked = line("/tmp/clicked");
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
    QTRY_COMPARE(PanelWorld::commands().filter(line("ping www.example.com")).size(), 1);
    QCOMPARE(PanelWorld::fileContent(line("ping.txt")), QByteArray("beside the page\n"));
}

void TestNetwork::ping_result_isABoxOfItsOwn()
{
    NetworkPage world;
    world.started();
    Qt::WindowFlags flags;
    QString style;
    bool isModal = false;
    const QObject* parent = &world.page();
    QTimer::singleShot(0, qApp, [&] {
        const QWidget* box = QApplication::activeModalWidget();
        flags = box->windowFlags();
        style = box->styleSheet();
        isModal = box->isModal();
        parent = box->parent();
        QApplication::activeModalWidget()->close();
    });
    world.page().ping_test();
    QVERIFY(flags.testFlag(Qt::Dialog));
    QVERIFY(flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    QCOMPARE(style, line("QMessageBox{background-color:rgb(255, 255, 255);"
                         "border:2px solid #000000;border-radius:3px;}"));
    QVERIFY(isModal);
    QCOMPARE(parent, nullptr);
}

void TestNetwork::ping_pressedAgain_waitsAnew()
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
    QTRY_COMPARE(PanelWorld::commands().count(line("killall ping")), 2);
    int boxes = 0;
    bool stillRunning = false;
    qint64 waited = 0;
    QTimer look;
    connect(&look, &QTimer::timeout, &look, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
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

void TestNetwork::ping_underAnOpenBox_opensNoSecond()
{
    NetworkPage world;
    world.started();
    int boxes = 0;
    QTimer::singleShot(0, qApp, [&] {
        world.page().onSetTest(); // a newer test
        world.page().ping_test();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            boxes += qobject_cast<QMessageBox*>(window) && window->isVisible() ? 1 : 0;
        }
        QApplication::activeModalWidget()->close();
    });
    world.page().ping_test();
    QCOMPARE(boxes, 1);
    // The newer test goes on and shows its own result.
    QVERIFY(looksRunning(world.pane(0).testButton()));
    QStringList seen;
    answerNextBox(&seen);
    world.page().ping_test();
    QCOMPARE(seen.size(), 4);
    QVERIFY(looksIdle(world.pane(0).testButton()));
}

void TestNetwork::ping_pageDeletedUnderTheBox_isSafe()
{
    NetworkPage world;
    world.started();
    bool opened = false;
    QTimer::singleShot(0, qApp, [&] {
        QWidget* box = QApplication::activeModalWidget();
        opened = box != nullptr;
        world.deletePage();
        box->close();
    });
    world.page().ping_test();
    QVERIFY(opened);
}

void TestNetwork::beeps_data()
{
    QTest::addColumn<QString>("keyClick");
    QTest::addColumn<int>("count");
    QTest::newRow("on") << line("on") << 1;
    QTest::newRow("off") << line("off") << 0;
    QTest::newRow("absent") << QString() << 0;
}

void TestNetwork::beeps()
{
    QFETCH(QString, keyClick);
    QFETCH(int, count);
    NetworkPage world;
    world.started();
    if (!keyClick.isNull()) {
        world.settings.setValue(line("General/buzzer"), keyClick);
    }
    const auto beepsOf = [](auto&& action) {
        PanelWorld::clearCommands();
        action();
        return PanelWorld::commands().count(beep);
    };
    QCOMPARE(beepsOf([&] { NetworkPage::press(&world.pane(0).disableSwitch()); }), count);
    QCOMPARE(beepsOf([&] { NetworkPage::press(&world.pane(1).defaultButton()); }), count);
    QCOMPARE(beepsOf([&] { NetworkPage::press(&world.pane(0).testButton()); }), count);
    QCOMPARE(beepsOf([&] { world.page().onTabBarSwitched(1); }), count);
    QCOMPARE(beepsOf([&] { world.page().onSetTest(); }), count);
    QCOMPARE(beepsOf([&] { world.pane(0).modeBox().setCurrentIndex(1); }), count);
    // The field's own: keys that are not pressed, only clicked by the program, do not beep.
    QLineEdit* field = world.field(1, AdapterPane::Ip, 0);
    bool opened = false;
    QCOMPARE(beepsOf([&] { opened = NetworkPage::enter(field, line("1")); }), count);
    QVERIFY(opened);
}

void TestNetwork::toolMissing_othersStillRun_data()
{
    QTest::addColumn<QString>("tool");
    for (const char* tool :
         {"ifconfig", "route", "udhcpc", "kill", "killall", "ping", "rm", "cp", "touch", "sync"}) {
        QTest::newRow(tool) << QStringLiteral("/panel/bin/") + line(tool);
    }
    QTest::newRow("setbeep") << line("/root/plat-intf/setbeep");
}

void TestNetwork::toolMissing_othersStillRun()
{
    QFETCH(QString, tool);
    // Of the machine's own programs, only those that the tools of this panel are made of: or else
    // one of them would be found in place of the missing tool.
    const QTemporaryDir parts;
    for (const char* part : {"busybox", "flock", "cat"}) {
        const QString name = line(part);
        QVERIFY(QFile::link(QStandardPaths::findExecutable(name), parts.filePath(name)));
    }
    const QByteArray path = qgetenv("PATH");
    const auto putBack = qScopeGuard([&tool, path] {
        QFile::rename(tool + line(".away"), tool);
        qputenv("PATH", path);
    });
    qputenv("PATH", "/panel/bin:" + parts.path().toLocal8Bit());
    if (m_runWithEveryTool.isEmpty()) {
        useEveryTool();
        do { // some run in the background
            m_runWithEveryTool = linesRun();
            QTest::qWait(severalPolls);
        } while (m_runWithEveryTool != linesRun());
        init();
    }
    QVERIFY(QFile::rename(tool, tool + line(".away")));
    useEveryTool();
    const auto ofTool = [&tool](const QString& command) {
        const QString name = command.section(QLatin1Char(' '), 0, 0);
        return name == tool || name == tool.section(QLatin1Char('/'), -1);
    };
    QStringList others = m_runWithEveryTool;
    QVERIFY(std::any_of(others.begin(), others.end(), ofTool));
    others.erase(std::remove_if(others.begin(), others.end(), ofTool), others.end());
    QTRY_COMPARE(linesRun(), others);
}

void TestNetwork::useEveryTool()
{
    NetworkPage world;
    world.started();
    world.settings.setValue(line("General/buzzer"), line("on"));
    PanelWorld::writeFile(line("/var/run/udhcpc0.pid"), "321\n");
    QVERIFY(NetworkPage::enter(world.field(0, AdapterPane::Ip, 3), line("8")));
    QVERIFY(NetworkPage::enter(world.field(0, AdapterPane::FirstDns, 3), line("9")));
    QFile::remove(resolver);
    QFile::remove(backup);
    world.pane(0).modeBox().setCurrentIndex(1);
    world.pane(0).modeBox().setCurrentIndex(0);
    world.pane(0).disableSwitch().click();
    world.pane(0).disableSwitch().click();
    world.page().onSetTest();
    QCOMPARE(world.text(0, AdapterPane::Ip), line("192.168.0.8"));
    QCOMPARE(world.text(0, AdapterPane::Mask), line("255.255.255.0"));
    QVERIFY(world.field(0, AdapterPane::Ip, 3)->isEnabled());
    QCOMPARE(PanelWorld::fileContent(wordArea).mid(751, 4), QByteArray("\xC0\xA8\x00\x08", 4));
}

QStringList TestNetwork::linesRun()
{
    QStringList lines = PanelWorld::commands();
    lines.sort();
    lines.removeDuplicates();
    return lines;
}

void TestNetwork::toolsMissing_pageStaysUsable()
{
    NetworkPage world;
    world.started();
    for (const char* tool : {"readee", "writeee", "setbeep"}) {
        PanelWorld::replaceTool(line(tool), QByteArray());
    }
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nowhere"); // none of the shell's tools either
    QVERIFY(world.enter(world.field(0, AdapterPane::Ip, 3), line("8")));
    world.pane(0).modeBox().setCurrentIndex(1);
    world.pane(0).modeBox().setCurrentIndex(0);
    world.pane(0).disableSwitch().click();
    world.pane(0).disableSwitch().click();
    qputenv("PATH", path);
    QCOMPARE(world.text(0, AdapterPane::Ip), line("192.168.0.8"));
    QCOMPARE(world.told.first().record.mid(41, 4), QByteArray("\xC0\xA8\x00\x08", 4));
}

void TestNetwork::manyPages_leaveNothing()
{
    const auto descriptors = [] { return QDir(line("/proc/self/fd")).count(); };
    NetworkPage().started();
    const uint before = descriptors();
    const int widgets = QApplication::allWidgets().size();
    for (int round = 0; round < 50; ++round) {
        NetworkPage().started();
    }
    QCOMPARE(QApplication::allWidgets().size(), widgets);
    QCOMPARE(descriptors(), before);
}

QTEST_MAIN(TestNetwork)
#include "test_network.moc"
