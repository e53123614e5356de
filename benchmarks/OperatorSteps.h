#pragma once

#include <functional>

/// What an operator waits for, step by step: the dialog made and shown, its pages, keypad and
/// languages. The same steps for every way of measuring them.
namespace OperatorSteps {

class Meter
{
public:
    Meter() = default;
    virtual ~Meter() = default;
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

    /// Does the step, and measures it under that name.
    virtual void measure(const char* name, const std::function<void()>& step) = 0;

    /// Does what is not to be measured.
    virtual void pass(const std::function<void()>& step) { step(); }
};

/// All steps, in a panel, with an application.
void measureAll(Meter& meter);

/// Ends the process with a message when something is not as a measurement needs it.
void check(bool good, const char* what);

} // namespace OperatorSteps
