#include "simulator/host/PanelHost.h"

#include "plugin/SettingsInterface.h"
#include "simulator/host/WidgetMap.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>
#include <QScreen>

#include <cstdio>
#include <utility>

namespace {

constexpr quint32 closeRegister = 86;
constexpr int requestMs = 50;
constexpr int pointSize = 12;
constexpr int wakeUpBacklight = 140; // raw; without the settings nobody knows the level
constexpr int wordsOfRegisterNotice = 1;
constexpr int wordsOfAreaNotice = 3;

/// Whoever wants to know where the widgets are makes the first file and gets the second.
const char* const describeRequest = "/panel/run/describe";
const char* const describeAnswer = "/panel/run/widgets.json";

void say(const QString& line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

} // namespace

PanelHost::PanelHost(QString pluginFolder)
    : m_state(QStringLiteral("/panel/state")),
      m_registerNotices(QStringLiteral("/tmp/fifo_sysreg"), wordsOfRegisterNotice),
      m_areaNotices(QStringLiteral("/tmp/fifo_localreg"), wordsOfAreaNotice),
      m_pluginFolder(std::move(pluginFolder))
{
    connect(&m_home, &HomePage::settingsRequested, this, &PanelHost::openSettings);
    connect(&m_state, &StateWatch::backlightChanged, &m_shades, &ShadeKeeper::setBacklight);
    connect(&m_state, &StateWatch::backlightChanged, &m_home, &HomePage::setBacklight);
    connect(&m_state, &StateWatch::beeped, &m_shades, &ShadeKeeper::beep);
    connect(&m_shades, &ShadeKeeper::wakeUp, this, &PanelHost::wakeUp);
    connect(&m_registerNotices, &NoticeReader::notice, this, &PanelHost::onRegisterNotice);
    connect(&m_areaNotices, &NoticeReader::notice, this, &PanelHost::onAreaNotice);
    connect(&m_requests, &QTimer::timeout, this, &PanelHost::describeOnRequest);
}

PanelHost::~PanelHost()
{
    m_settings.reset(); // before its code goes
}

void PanelHost::setLook()
{
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle(QStringLiteral("fusion"));
    const int font = QFontDatabase::addApplicationFont(QStringLiteral("/hmi/default.ttf"));
    const QStringList families = QFontDatabase::applicationFontFamilies(font);
    if (!families.isEmpty()) {
        QApplication::setFont(QFont(families.first(), pointSize));
    }
}

QString PanelHost::findPlugin(const QString& folder)
{
    const QDir libraries(folder, QStringLiteral("*.so"));
    for (const QString& name : libraries.entryList(QDir::Files)) {
        QString path = libraries.absoluteFilePath(name);
        const QJsonObject metaData = QPluginLoader(path).metaData();
        if (metaData.value(QStringLiteral("IID")).toString() ==
            QLatin1String(qobject_interface_iid<SettingsInterface*>())) {
            return path;
        }
    }
    return QString();
}

bool PanelHost::start()
{
    m_home.setGeometry(QGuiApplication::primaryScreen()->geometry());
    m_home.showFullScreen();
    m_home.setBacklight(m_state.backlight());
    m_shades.setBacklight(m_state.backlight());
    m_requests.start(requestMs);

    m_loader.setFileName(findPlugin(m_pluginFolder));
    m_plugin = qobject_cast<SettingsInterface*>(m_loader.instance());
    if (m_plugin) {
        return true;
    }
    const QString problem = QStringLiteral("There is no settings plugin in %1. %2")
                                .arg(m_pluginFolder, m_loader.errorString());
    m_home.setProblem(problem);
    std::fprintf(stderr, "panel-host: %s\n", qPrintable(problem));
    return false;
}

void PanelHost::openSettings()
{
    m_settings.reset(m_plugin->createInstance());
    m_settings->setWindowFlag(Qt::FramelessWindowHint);
    m_settings->setGeometry(QGuiApplication::primaryScreen()->geometry());
    m_settings->showFullScreen();
    m_settings->activateWindow();
}

void PanelHost::closeSettings()
{
    if (m_settings) {
        // It may be in the middle of its own close button: it goes when that is done.
        m_settings->hide();
        m_settings.release()->deleteLater();
    }
    m_home.raise();
    m_home.activateWindow();
}

void PanelHost::onRegisterNotice(const QList<quint32>& words)
{
    const QString text = QStringLiteral("register %1").arg(words.first());
    say(QStringLiteral("notice: ") + text);
    m_home.setNotice(QStringLiteral("Last notice: ") + text);
    if (words.first() == closeRegister) {
        closeSettings();
    }
}

void PanelHost::onAreaNotice(const QList<quint32>& words)
{
    const QString text = QStringLiteral("area %1, offset %2, length %3")
                             .arg(words.at(0))
                             .arg(words.at(1))
                             .arg(words.at(2));
    say(QStringLiteral("notice: ") + text);
    m_home.setNotice(QStringLiteral("Last notice: ") + text);
}

void PanelHost::wakeUp()
{
    if (m_settings) {
        QMetaObject::invokeMethod(m_settings.get(), "backLightOn");
    } else {
        QProcess::execute(QStringLiteral("/root/plat-intf/setbright"),
                          {QString::number(wakeUpBacklight)});
    }
}

void PanelHost::describeOnRequest()
{
    // Taken back before the answer: whoever has it may ask again at once.
    if (!QFile::remove(QString::fromLatin1(describeRequest))) {
        return;
    }
    QSaveFile answer(QString::fromLatin1(describeAnswer));
    if (answer.open(QIODevice::WriteOnly)) {
        answer.write(QJsonDocument(describeWidgets()).toJson());
        answer.commit();
    }
}
