#include "tests/soak/Operator.h"

#include "tests/soak/SimulatedClock.h"
#include "tests/support/Hands.h"
#include "tests/support/Text.h"

#include <QLineEdit>
#include <QSlider>
#include <QTest>

#include <algorithm>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr auto tickTime = 10ms; ///< As short as the shortest timer of the dialog.
constexpr int ticksPerStep = 100;
constexpr int patience = 15; ///< Steps after which a window is closed.

/// Dice in a hundred.
constexpr int chancesOfKey = 25;
constexpr int chancesOfHold = 10;
constexpr int chancesOfWorld = 20;

/// How much more likely than one that was pressed once is a control that never was.
constexpr double eagerness = 20.0;

/// Whether it shows another page or tab of the window.
bool leadsElsewhere(const Control& control)
{
    return control.name.contains(QLatin1String("/tab ")) ||
           control.name.contains(QLatin1String("generalPushButton")) ||
           control.name.contains(QLatin1String("networkPushButton"));
}

constexpr Qt::Key keys[] = {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Tab,
                            Qt::Key_Space,  Qt::Key_5,      Qt::Key_Up,    Qt::Key_Down,
                            Qt::Key_Delete, Qt::Key_Home};

} // namespace

Operator::Operator(unsigned seed) : m_random(seed)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Operator::tick);
}

int Operator::work(QDialog& window, int presses)
{
    m_window = &window;
    m_done = 0;
    m_limit = presses;
    m_timer.start(0);
    m_loop.exec();
    m_timer.stop();
    m_finger.lift();
    return m_done;
}

void Operator::tick()
{
    // Once more before anything else: the press made here may open a window with a loop of its own.
    m_timer.start(0);
    SimulatedClock::advance(tickTime);
    if (++m_ticks % ticksPerStep == 0) {
        step();
    }
}

void Operator::step()
{
    QWidget* front = Hands::windowInFront();
    if (!front) {
        front = m_window;
    }
    if (m_isPressing && front == m_pressed) {
        return; // in the middle of a press
    }
    m_frontSteps = front == m_front ? m_frontSteps + 1 : 0;
    m_front = front;
    m_finger.lift();
    if (!front || (front == m_window && (!front->isVisible() || m_done >= m_limit))) {
        m_loop.quit();
    } else if (front != m_window && (m_frontSteps > patience || m_done >= m_limit)) {
        close(*front);
    } else {
        pressOne(*front);
    }
}

void Operator::close(QWidget& window)
{
    const Control control = closingControlOf(window);
    if (control.widget) {
        press(control);
        m_finger.lift();
    } else {
        QTest::keyClick(&window, Qt::Key_Escape);
    }
}

void Operator::pressOne(QWidget& window)
{
    ++m_done;
    if (m_world && oneIn(chancesOfWorld)) {
        m_world(m_random);
    }
    if (oneIn(chancesOfKey)) {
        typeKey(window);
        return;
    }
    const QList<Control> controls = controlsOf(window);
    const bool isInTheWay = !m_sought.isEmpty() && &window != m_window && !hasSought(controls);
    if (controls.isEmpty() || isInTheWay) {
        close(window);
        return;
    }
    Control control = choose(controls);
    if (qobject_cast<QSlider*>(control.widget)) {
        control.point = somewhereIn(*control.widget);
    }
    press(control);
    if (!oneIn(chancesOfHold)) {
        m_finger.lift(); // otherwise at the next step
    }
}

void Operator::press(const Control& control)
{
    count(control.name);
    QPointer<QWidget> pressed = control.widget->window();
    m_pressed.swap(pressed); // a press may be made within another one
    const bool wasPressing = m_isPressing;
    const bool drags = control.name.contains(QLatin1String("titleBarFrame")) ||
                       qobject_cast<QSlider*>(control.widget);
    m_isPressing = true;
    m_finger.press(*control.widget, control.point);
    if (drags) {
        m_finger.moveBy(QPoint(number(-40, 40), number(-40, 40)));
    }
    m_pressed.swap(pressed);
    m_isPressing = wasPressing;
}

void Operator::typeKey(QWidget& window)
{
    const Qt::Key key = keys[number(0, int(std::size(keys)) - 1)];
    count("key %1"_s.arg(QKeySequence(key).toString()));
    QTest::keyClick(window.windowHandle(), key);
}

void Operator::count(const QString& name)
{
    ++m_presses[name];
    m_sought.removeAll(name);
}

QPoint Operator::somewhereIn(const QWidget& widget)
{
    return {number(0, widget.width() - 1), widget.height() / 2};
}

bool Operator::hasSought(const QList<Control>& controls) const
{
    return std::any_of(controls.begin(), controls.end(),
                       [this](const Control& control) { return m_sought.contains(control.name); });
}

double Operator::eagernessFor(const Control& control) const
{
    if (!m_sought.isEmpty()) {
        return m_sought.contains(control.name) ? eagerness : leadsElsewhere(control) ? 1.0 : 0.01;
    }
    const double times = m_presses.value(control.name);
    return times > 0 ? 1.0 / (times * times) : eagerness;
}

const Control& Operator::choose(const QList<Control>& controls)
{
    std::vector<double> weights;
    for (const Control& control : controls) {
        weights.push_back(eagernessFor(control));
    }
    std::discrete_distribution<int> choice(weights.begin(), weights.end());
    return controls.at(choice(m_random));
}

int Operator::number(int smallest, int largest)
{
    return std::uniform_int_distribution<int>(smallest, largest)(m_random);
}
