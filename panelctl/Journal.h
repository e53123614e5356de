#pragma once

#include "panelctl/Descriptor.h"
#include "panelctl/Snapshot.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

/// Keeps other panelctls off while one changes many things at once.
class ChangeLock
{
public:
    /// Waits for it. The tools that are started from now on inherit it: one that outlives a killed
    /// panelctl has to end before somebody repairs what it is still writing. Throws Failure.
    ChangeLock();

    /// What is started from now on does not: a DHCP client runs for ever.
    void keep() const;

private:
    const Descriptor m_file;
};

/// What an import that has begun needs to be taken back: the old state of all that it touches. It
/// lies on the medium before the first change and goes when the last one is made or, where that
/// was asked for, confirmed.
class Journal
{
public:
    /// A change of the settings at these places that begins now. The running panel follows if
    /// @p now; it has to be confirmed within @p seconds, unless they are 0.
    Journal(Snapshot before, std::set<std::string> places, bool now, int seconds);

    /// The one on the medium. Throws Failure when it cannot be understood.
    static std::optional<Journal> load();

    /// Puts it on the medium. Throws Failure.
    void save() const;
    /// Nothing will be taken back.
    static void remove();

    /// The last change is made; it only has to be confirmed.
    void complete() { m_isComplete = true; }

    /// Whether it has to be taken back: it was cut off, or its time is over.
    bool isOver() const { return !m_isComplete || secondsLeft() == 0; }
    bool isComplete() const { return m_isComplete; }
    bool followsNow() const { return m_now; }
    const std::set<std::string>& places() const { return m_places; }

    /// Seconds that remain to confirm it. They go on over a restart, by the clock then, which may
    /// be wrong: never more than were given.
    int secondsLeft() const;

    /// Counts the seconds that remain from the present start of the panel, whatever its clock says
    /// later. Nothing is to be done in the start in which the change was made. Throws Failure.
    void goOn();

    /// Takes the change back, on the running panel too if that has followed it, or has been started
    /// with it. Throws Failure.
    void restore(const ChangeLock& lock) const;

    static const char* const path;

private:
    explicit Journal(Snapshot before) : m_before(std::move(before)) {}

    Snapshot m_before;
    std::set<std::string> m_places;
    bool m_now = false;
    bool m_isComplete = false;
    int m_seconds = 0;

    std::string m_start;       ///< Which start of the panel m_uptime belongs to.
    std::int64_t m_uptime = 0; ///< When it is over, in seconds since that start.
    std::int64_t m_clock = 0;  ///< The same by the clock.
};

/// Before a command looks at the panel: takes back a change that is over, and says so on standard
/// error; one that still has time is watched from the background again, should the panel have been
/// started meanwhile. Throws Failure. Returns whether one was taken back.
bool settleJournal();

/// Whoever watches may be about to end with the change before: a new change is not left to him.
enum class Watch { NewChange, IfNobodyDoes };

/// Watches the change on the medium from the background, whatever becomes of this program and its
/// terminal, and takes it back when its time is over. Throws Failure.
void watchJournal(Watch kind);
