// The simulated panel's runtime.
//
//   panel-host --plugins FOLDER

#include "simulator/host/PanelHost.h"

#include <QApplication>
#include <QCommandLineParser>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("plugins"), QStringLiteral("Where the plugin lies."),
                      QStringLiteral("folder")});
    parser.addHelpOption();
    parser.process(application);
    if (!parser.isSet(QStringLiteral("plugins"))) {
        std::fprintf(stderr, "panel-host: --plugins FOLDER is missing\n");
        return 2;
    }
    PanelHost::setLook();

    PanelHost host(parser.value(QStringLiteral("plugins")));
    const bool complete = host.start();
    const int status = QApplication::exec();
    return complete ? status : 1;
}
