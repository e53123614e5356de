// Renders the settings as an operator sees them, for people to look at.
//
//   panel-shots --plugins FOLDER --out FOLDER
//
// Pictures are called SIZE-WINDOW-LANGUAGE.png.

#include "plugin/SettingsInterface.h"
#include "simulator/host/PanelHost.h"

#include <QApplication>
#include <QComboBox>
#include <QCommandLineParser>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPluginLoader>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

namespace {

/// The screen: every visible window in the order in which it was opened.
QPixmap screenPicture(const QList<QWidget*>& windows)
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    QPixmap picture(screen.size());
    picture.fill(Qt::black);
    QPainter painter(&picture);
    for (QWidget* window : windows) {
        painter.drawPixmap(window->geometry().topLeft() - screen.topLeft(), window->grab());
    }
    return picture;
}

class Photographer
{
public:
    Photographer(QDialog* dialog, QString folder) : m_dialog(dialog), m_folder(std::move(folder)) {}

    void takeAll()
    {
        for (const char* language : {"English", "Chinese"}) {
            m_language =
                qstrcmp(language, "English") == 0 ? QStringLiteral("en") : QStringLiteral("zh");
            click(QString::fromLatin1(language));
            click(QStringLiteral("generalPushButton"));
            take(QStringLiteral("general"), {m_dialog});
            takeModal(QStringLiteral("keypad"), "brightnessLineEdit");
            takeModalOfButton(QStringLiteral("datetime"), QStringLiteral("setting_button.png"));
            takeOutOfRange();
            click(QStringLiteral("networkPushButton"));
            takeNetwork();
        }
    }

    bool complete() const { return m_complete; }

private:
    void click(const QString& name)
    {
        m_dialog->findChild<QPushButton*>(name)->click();
        QApplication::processEvents();
    }

    void take(const QString& window, const QList<QWidget*>& windows)
    {
        QApplication::processEvents();
        const QSize size = QGuiApplication::primaryScreen()->size();
        const QString file = QStringLiteral("%1/%2x%3-%4-%5.png")
                                 .arg(m_folder)
                                 .arg(size.width())
                                 .arg(size.height())
                                 .arg(window, m_language);
        if (!screenPicture(windows).save(file)) {
            std::fprintf(stderr, "panel-shots: cannot write %s\n", qPrintable(file));
            m_complete = false;
        }
    }

    /// Both tabs, static, dynamic and switched off; then the connectivity test.
    void takeNetwork()
    {
        auto* tabs = m_dialog->findChild<QTabWidget*>();
        for (int tab = 0; tab < tabs->count(); ++tab) {
            tabs->setCurrentIndex(tab);
            const QString name = QStringLiteral("network%1-%2").arg(tab);
            auto* mode = tabs->widget(tab)->findChild<QComboBox*>(); // the first one
            take(name.arg(QStringLiteral("static")), {m_dialog});
            mode->setCurrentIndex(1);
            take(name.arg(QStringLiteral("dynamic")), {m_dialog});
            mode->setCurrentIndex(0);
            auto* power = buttonWith(QStringLiteral("/switch_off.png"), tabs->widget(tab));
            power->click();
            take(name.arg(QStringLiteral("off")), {m_dialog});
            power->click();
        }
        tabs->setCurrentIndex(0);
        QTimer::singleShot(500, m_dialog, [this] { take(QStringLiteral("ping"), {m_dialog}); });
        QEventLoop untilClosed;
        QTimer::singleShot(3500, m_dialog, [this, &untilClosed] {
            QWidget* box = QApplication::activeModalWidget();
            take(QStringLiteral("pingresult"), {m_dialog, box});
            box->close();
            untilClosed.quit();
        });
        m_dialog->findChild<QPushButton*>(QStringLiteral("TestButton"))->click();
        untilClosed.exec();
    }

    static QPushButton* buttonWith(const QString& picture, const QWidget* window)
    {
        const auto buttons = window->findChildren<QPushButton*>();
        return *std::find_if(buttons.begin(), buttons.end(),
                             [&picture](const QPushButton* candidate) {
                                 return candidate->styleSheet().contains(picture);
                             });
    }

    /// Takes the picture of the modal dialog that opens next, and closes it.
    void takeNextModal(const QString& window)
    {
        QTimer::singleShot(100, m_dialog, [this, window] {
            QWidget* modal = QApplication::activeModalWidget();
            take(window, {m_dialog, modal});
            modal->close();
        });
    }

    void takeModal(const QString& window, const char* field)
    {
        takeNextModal(window);
        press(m_dialog->findChild<QLineEdit*>(QString::fromLatin1(field)));
    }

    void takeModalOfButton(const QString& window, const QString& picture)
    {
        takeNextModal(window);
        buttonWith(picture, m_dialog)->click();
    }

    /// The message box over the keypad.
    void takeOutOfRange()
    {
        QTimer::singleShot(100, m_dialog, [this] {
            QWidget* keypad = QApplication::activeModalWidget();
            QTimer::singleShot(200, m_dialog, [this, keypad] {
                QWidget* box = QApplication::activeModalWidget();
                take(QStringLiteral("range"), {m_dialog, keypad, box});
                box->close();
            });
            for (const char* key : {"pushButton9", "pushButton9", "pushButtonEnter"}) {
                keypad->findChild<QPushButton*>(QString::fromLatin1(key))->click();
            }
            keypad->close();
        });
        press(m_dialog->findChild<QLineEdit*>(QStringLiteral("brightnessLineEdit")));
    }

    static void press(QWidget* widget)
    {
        const QPointF point = widget->rect().center();
        QMouseEvent event(QEvent::MouseButtonPress, point, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    }

    QDialog* m_dialog;
    QString m_folder;
    QString m_language;
    bool m_complete = true;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    const QString plugins = QStringLiteral("plugins");
    const QString out = QStringLiteral("out");
    parser.addOption({plugins, QStringLiteral("Where the plugin lies."), QStringLiteral("folder")});
    parser.addOption({out, QStringLiteral("Where the pictures go."), QStringLiteral("folder")});
    parser.process(application);
    PanelHost::setLook();

    QPluginLoader loader(PanelHost::findPlugin(parser.value(plugins)));
    auto* plugin = qobject_cast<SettingsInterface*>(loader.instance());
    if (!plugin) {
        std::fprintf(stderr, "panel-shots: %s\n", qPrintable(loader.errorString()));
        return 1;
    }
    const std::unique_ptr<QDialog> settings(plugin->createInstance());
    settings->setWindowFlag(Qt::FramelessWindowHint);
    settings->showFullScreen();
    QApplication::processEvents();
    QDir().mkpath(parser.value(out));
    Photographer photographer(settings.get(), parser.value(out));
    photographer.takeAll();
    return photographer.complete() ? 0 : 1;
}
