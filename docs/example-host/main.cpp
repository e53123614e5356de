// A runtime in small: shows the settings until the operator closes them, then unloads them.
#include "plugin/SettingsInterface.h"

#include <QApplication>
#include <QDialog>
#include <QPluginLoader>
#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

struct Waker : QObject // the press that ends the dark lights the panel and does nothing else
{
    QDialog* settings = nullptr;
    bool dark = true; // to be set again by whatever dims the panel
    bool eventFilter(QObject*, QEvent* event) override
    {
        const bool wakes = dark && event->type() == QEvent::MouseButtonPress;
        dark = dark && !wakes;
        return wakes && QMetaObject::invokeMethod(settings, "backLightOn");
    }
};

int main(int argc, char** argv)
{
    QCoreApplication::setAttribute(Qt::AA_ForceRasterWidgets); // see the host guide
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false); // a runtime goes on without the settings
    QPluginLoader loader(QString::fromLocal8Bit(argv[argc - 1]));
    loader.setLoadHints(QLibrary::LoadHints()); // by default, Qt never lets go of a plugin
    const bool isRisky = argc < 3 && geteuid() == 0 && access("/root/plat-intf/readee", X_OK) != 0;
    auto* plugin = isRisky ? nullptr : qobject_cast<SettingsInterface*>(loader.instance());
    if (!plugin) {
        qCritical("no settings plugin: %s",
                  isRisky ? "no panel: root would change its network; to do so: --here PLUGIN"
                          : qPrintable(loader.errorString()));
        return 1;
    }
    // Before the dialog, which sends notices while it is made; writable, so that it never ends.
    mkfifo("/tmp/fifo_sysreg", 0666);
    const int notices = open("/tmp/fifo_sysreg", O_RDWR | O_NONBLOCK | O_CLOEXEC);
    QSocketNotifier notifier(notices, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [notices] {
        for (quint32 id = 0; read(notices, &id, sizeof id) == sizeof id;) {
            qInfo("register %u", id);
            if (id == 86) { // the dialog has hidden itself
                QApplication::quit();
            }
        }
    });
    Waker waker;
    waker.settings = plugin->createInstance();
    application.installEventFilter(&waker);
    waker.settings->showFullScreen();
    QApplication::exec();
    delete waker.settings; // before its code goes
    return loader.unload() ? 0 : 1;
}
