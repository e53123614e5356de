#pragma once

#include "panelctl/Descriptor.h"
#include "panelctl/Snapshot.h"

#include <optional>
#include <string>

/// Keeps other panelctls off while one changes many things at once. The lock is inherited by the
/// tools that are started meanwhile: one that outlives a killed panelctl has to end before
/// somebody repairs what it is still writing.
class ChangeLock
{
public:
    /// Waits for it. Throws Failure.
    ChangeLock();

private:
    const Descriptor m_file;
};

/// What an import that has begun needs to be taken back: the old state of all that it touches. It
/// lies on the medium before the first change and goes when the last one is made, or confirmed.
class Journal
{
public:
    /// A change that begins now.
    explicit Journal(Snapshot before) : m_before(std::move(before)) {}

    /// The one on the medium. Throws Failure when it cannot be understood.
    static std::optional<Journal> load();

    /// Puts it on the medium. Throws Failure.
    void save() const;
    /// The change is complete.
    static void remove();

    /// From now on the change waits so many seconds to be confirmed.
    void awaitConfirmation(int seconds);
    bool awaitsConfirmation() const { return m_seconds > 0; }
    /// Seconds that remain, counted on over a restart, of which the clock may know nothing: never
    /// more than were given. 0 when they are over.
    int secondsLeft() const;
    /// Tells one waiting change from the next.
    const std::string& id() const { return m_id; }

    /// Takes the change back. Throws Failure.
    void restore() const;

    static const char* const path;

private:
    Snapshot m_before;
    int m_seconds = 0; ///< 0 while the change is being made.
    std::string m_id;
    std::string m_boot;        ///< Which start of the machine m_uptime belongs to.
    std::int64_t m_uptime = 0; ///< When it is over, in seconds since that start.
    std::int64_t m_clock = 0;  ///< The same by the clock.
};

/// Before a command looks at the panel: takes back a change that was cut off, or that nobody has
/// confirmed in time, and says so on standard error. Throws Failure when it cannot be taken back.
/// Returns whether there was one.
bool settleJournal();
