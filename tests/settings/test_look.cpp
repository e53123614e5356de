#include "common/Message.h"
#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"
#include "general/GeneralSettings.h"
#include "settings/Settings.h"
#include "tests/support/Hands.h"
#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSlider>
#include <QTabWidget>
#include <QTest>
#include <QTextStream>

#include <functional>
#include <memory>

// How every window looks, part by part, compared with the files in look/. A change that was meant
// is taken over by `test_look --print`, which prints the file anew.

namespace {

QString rectangle(const QRect& rect)
{
    return "%1,%2 %3x%4"_s.arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
}

/// The clock goes on while a test runs.
const QRegularExpression& timeText()
{
    static const QRegularExpression text(R"(\d+\D\d+\D\d+ +\S+ +\d+:\d+(:\d+)?)"_s);
    return text;
}

QString withoutTime(QString text)
{
    return text.replace(timeText(), "TIME"_s);
}

/// A text that changes takes a place that changes by a pixel.
QString placeOf(const QWidget& widget)
{
    const bool isClock = widget.property("text").toString().contains(timeText());
    return isClock ? "clock"_s : rectangle(widget.geometry());
}

QString kindOf(const QWidget& widget)
{
    return QString::fromLatin1(widget.metaObject()->className());
}

/// What widgets of some kinds have besides.
QString specials(const QWidget& widget)
{
    QString told;
    QTextStream out(&told);
    if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
        const QSize picture = label->pixmap(Qt::ReturnByValue).size();
        out << " align " << Qt::hex << int(label->alignment()) << Qt::dec << " margin "
            << label->margin() << " picture " << picture.width() << 'x' << picture.height();
    } else if (const auto* edit = qobject_cast<const QLineEdit*>(&widget)) {
        out << " align " << Qt::hex << int(edit->alignment()) << Qt::dec
            << (edit->isReadOnly() ? " read-only" : "") << " longest " << edit->maxLength()
            << " menu " << edit->contextMenuPolicy();
    } else if (const auto* slider = qobject_cast<const QSlider*>(&widget)) {
        out << " from " << slider->minimum() << " to " << slider->maximum() << " step "
            << slider->singleStep() << " page " << slider->pageStep() << " at " << slider->value();
    } else if (const auto* box = qobject_cast<const QComboBox*>(&widget)) {
        out << " choices";
        for (int at = 0; at < box->count(); ++at) {
            out << " '" << box->itemText(at) << '\'';
        }
    } else if (const auto* tabs = qobject_cast<const QTabWidget*>(&widget)) {
        for (int at = 0; at < tabs->count(); ++at) {
            out << " tab '" << tabs->tabText(at) << '\'';
        }
    } else if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
        out << " icon " << button->iconSize().width() << (button->icon().isNull() ? " none" : "")
            << (button->autoRepeat() ? " repeats" : "");
    }
    if (const auto* frame = qobject_cast<const QFrame*>(&widget)) {
        out << " frame " << frame->frameStyle() << ' ' << frame->lineWidth() << ' '
            << frame->midLineWidth();
    }
    return told;
}

QString layoutOf(const QWidget& widget)
{
    const QLayout* layout = widget.layout();
    if (!layout) {
        return {};
    }
    const QMargins margins = layout->contentsMargins();
    return " layout %1 %2 %3 %4"_s.arg(margins.left())
        .arg(margins.top())
        .arg(margins.right())
        .arg(margins.bottom());
}

enum class Detail { Places, Everything };

void describeTexts(const QWidget& widget, const QString& indent, QTextStream& out)
{
    for (const char* name : {"windowTitle", "title", "text", "styleSheet"}) {
        const QString text = widget.property(name).toString();
        if (!text.isEmpty()) {
            out << indent << "| " << name << ": " << withoutTime(text).replace("\n"_s, R"(\n)"_s)
                << '\n';
        }
    }
}

/// A part and those in it that can be seen.
void describe(const QWidget& widget, int depth, Detail detail, QTextStream& out)
{
    const QString indent(depth * 2, QLatin1Char(' '));
    out << indent << kindOf(widget) << ' '
        << (widget.objectName().isEmpty() ? "-"_s : widget.objectName()) << ' ' << placeOf(widget)
        << (widget.isHidden() ? " hidden" : "") << (widget.isEnabled() ? "" : " disabled")
        << " focus " << widget.focusPolicy() << " font " << widget.font().pointSize()
        << (widget.font().bold() ? " bold" : "") << (widget.graphicsEffect() ? " effect" : "")
        << (widget.testAttribute(Qt::WA_AcceptTouchEvents) ? " touch" : "") << " colour "
        << widget.palette().color(QPalette::WindowText).name() << specials(widget)
        << layoutOf(widget) << '\n';
    if (detail == Detail::Everything) {
        describeTexts(widget, indent, out);
    }
    for (const QObject* child : widget.children()) {
        const auto* part = qobject_cast<const QWidget*>(child);
        if (part && part->isVisible() && !part->isWindow()) {
            describe(*part, depth + 1, detail, out);
        }
    }
}

/// Texts and styles depend on no screen, so it is enough to have them once.
QString lookOf(const QWidget& window, Detail detail = Detail::Everything)
{
    constexpr int usualWidth = 800; // of the screen without a display
    const bool isUsual = QGuiApplication::primaryScreen()->size().width() == usualWidth;
    // What was asked for comes before what is measured.
    QCoreApplication::processEvents();
    QString text;
    QTextStream out(&text);
    out.setCodec("UTF-8");
    describe(window, 0, isUsual ? detail : Detail::Places, out);
    out.flush();
    return text;
}

/// What is made and not shown: it has no place, but a look.
QString hiddenIn(const QWidget& window)
{
    QString text;
    QTextStream out(&text);
    for (const auto* part : window.findChildren<QWidget*>()) {
        if (!part->isVisible() && part->children().isEmpty()) {
            out << kindOf(*part) << ' ' << part->objectName() << " font "
                << part->font().pointSize() << (part->font().bold() ? " bold" : "")
                << specials(*part) << '\n';
            describeTexts(*part, QString(), out);
        }
    }
    out.flush();
    return text;
}

std::unique_ptr<Settings> makeWindow(Settings::Language language)
{
    auto window = std::make_unique<Settings>(nullptr);
    window->init();
    window->updateLanguage(language);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    window->resize(screen.width(), screen.height() * 3 / 4);
    window->show();
    return window;
}

QString page(Settings::Language language, const QString& button)
{
    const auto window = makeWindow(language);
    window->findChild<QPushButton*>(button)->click();
    return lookOf(*window, language == Settings::English ? Detail::Everything : Detail::Places);
}

/// The Network page on a device with a screen of that width.
QString pagesOf(int width)
{
    PanelWorld::setScreenWidth(width);
    const auto window = makeWindow(Settings::English);
    QString text = lookOf(*window, Detail::Places);
    window->findChild<QPushButton*>("networkPushButton"_s)->click();
    return text + lookOf(*window, Detail::Places);
}

QString keypad()
{
    const auto window = makeWindow(Settings::English);
    InputDialog* dialog = InputDialog::Instance(0, 1, 32, 17, nullptr, window.get());
    dialog->show();
    QString text = lookOf(*dialog);
    dialog->close();
    InputDialog::release();
    return text;
}

QString dateDialog()
{
    const auto window = makeWindow(Settings::English);
    DateTimeDialog* dialog = DateTimeDialog::Instance(0, nullptr, window.get());
    dialog->show();
    QDateTime dateTime(QDate(2024, 2, 29), QTime(13, 45, 59));
    dialog->onUpdateCurrentDateTime(dateTime);
    QString text = lookOf(*dialog);
    dialog->close();
    DateTimeDialog::release();
    return text;
}

QString message(QMessageBox::Icon icon)
{
    QString text;
    const Hands::WhenOpen<QMessageBox> looking([&text](QMessageBox& box) {
        text = lookOf(box);
        box.close();
    });
    Message::show(nullptr, 0, icon, "Title"_s, "A text of a message"_s, QMessageBox::Ok);
    return text;
}

QString hiddenParts()
{
    const auto window = makeWindow(Settings::English);
    auto* page = window->findChild<GeneralSettings*>();
    auto* bar = window->findChild<QFrame*>("statusBarFrame"_s);
    return hiddenIn(*page) + hiddenIn(*bar);
}

const struct
{
    const char* name;
    std::function<QString()> look;
} views[] = {
    {"general, English", [] { return page(Settings::English, "generalPushButton"_s); }},
    {"network, English", [] { return page(Settings::English, "networkPushButton"_s); }},
    {"general, Chinese", [] { return page(Settings::Chinese, "generalPushButton"_s); }},
    {"pages of a device that is 800 wide", [] { return pagesOf(800); }},
    {"pages of a device that is 1280 wide", [] { return pagesOf(1280); }},
    {"pages of a device that is 1920 wide", [] { return pagesOf(1920); }},
    {"pages of a device of an odd width", [] { return pagesOf(1366); }},
    {"keypad", [] { return keypad(); }},
    {"date", [] { return dateDialog(); }},
    {"information", [] { return message(QMessageBox::Information); }},
    {"critical message", [] { return message(QMessageBox::Critical); }},
    {"hidden parts", [] { return hiddenParts(); }},
};

/// The device with two adapters, as every view begins with it.
void prepare()
{
    static const QByteArray image = PanelWorld::image();
    PanelWorld::setImage(image);
    constexpr int options = 262;
    PanelWorld::patchImage(options, QByteArray(1, char(image.at(options) | 1)));
}

} // namespace

class TestLook : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyPart_looksAsItDid_data();
    void everyPart_looksAsItDid();

private:
    QMap<QString, QStringList> m_expected;
};

void TestLook::initTestCase()
{
    QVERIFY2(PanelWorld::image().size() == 1024, "runs inside the simulated panel only");
    const int width = QGuiApplication::primaryScreen()->size().width();
    const QString file = LOOK_FOLDER "/%1.txt"_s.arg(width);
    for (const QString& view :
         QString::fromUtf8(PanelWorld::fileContent(file)).split("== "_s, Qt::SkipEmptyParts)) {
        QStringList lines = view.split("\n"_s, Qt::SkipEmptyParts);
        const QString name = lines.takeFirst();
        m_expected[name] = lines;
    }
}

void TestLook::everyPart_looksAsItDid_data()
{
    QTest::addColumn<int>("view");
    for (int at = 0; at < int(std::size(views)); ++at) {
        QTest::newRow(views[at].name) << at;
    }
}

void TestLook::everyPart_looksAsItDid()
{
    QFETCH(int, view);
    prepare();
    const QStringList seen = views[view].look().split("\n"_s, Qt::SkipEmptyParts);
    const QStringList expected = m_expected.value(QString::fromLatin1(views[view].name));
    for (int at = 0; at < qMin(seen.size(), expected.size()); ++at) {
        QCOMPARE(seen.at(at), expected.at(at));
    }
    QCOMPARE(seen.size(), expected.size());
}

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    if (argc == 2 && QByteArray(argv[1]) == "--print") {
        QTextStream out(stdout);
        out.setCodec("UTF-8");
        for (const auto& view : views) {
            prepare();
            out << "== " << view.name << '\n' << view.look();
        }
        return 0;
    }
    TestLook test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_look.moc"
