// The least that a program with a window and the panel's font does; with TICK_MS above 0, and with
// a timer that does nothing.

#include <QApplication>
#include <QFontDatabase>
#include <QPushButton>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const int id = QFontDatabase::addApplicationFont(QStringLiteral("/hmi/default.ttf"));
    QPushButton button(QStringLiteral("OK 确定"));
    button.setFont(QFont(QFontDatabase::applicationFontFamilies(id).value(0), 20));
    if (TICK_MS > 0) {
        button.startTimer(TICK_MS);
    }
    button.showFullScreen();
    return QApplication::exec();
}
