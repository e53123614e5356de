#pragma once

#include "panelctl/Descriptor.h"
#include "panelctl/Snapshot.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

/// A lock that keeps other panelctl programs from changing anything while this one changes many
/// things at once.
class ChangeLock
{
public:
    /// Waits until the lock is free and takes it. Tools that are started from now on inherit it:
    /// one that outlives a killed panelctl has to end before somebody repairs what it is still
    /// writing. Throws Failure.
    ChangeLock();

    /// Programs that are started from now on do not inherit the lock: a DHCP client, which runs for
    /// ever, would hold it for ever.
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

    /// Reads the journal on the medium; nothing when there is no journal. Throws Failure when it
    /// cannot be understood.
    static std::optional<Journal> load();

    /// Writes the journal to the medium. Throws Failure.
    void save() const;
    /// Removes the journal from the medium: nothing will be taken back.
    static void remove();

    /// Notes that the last change has been made; the import only has to be confirmed.
    void complete() { m_isComplete = true; }

    /// Whether the change has to be taken back: because it was cut off, or because the time to
    /// confirm it has passed.
    bool isOver() const { return !m_isComplete || secondsLeft() == 0; }
    bool isComplete() const { return m_isComplete; }
    bool followsNow() const { return m_now; }
    const std::set<std::string>& places() const { return m_places; }

    /// Seconds that remain to confirm the change. A restart does not stop the count. After one, the
    /// clock is asked, which may be wrong, so that there are never more seconds than were given.
    int secondsLeft() const;

    /// Counts the seconds that remain from the present start of the panel, whatever its clock says
    /// later. Does nothing as long as the panel has not been restarted since the change. Throws
    /// Failure.
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
    std::int64_t m_uptime = 0; ///< When the time to confirm ends, in seconds since that
                               ///< start.
    std::int64_t m_clock = 0;  ///< The same moment by the clock.
};

/// To be called before a command looks at the panel. A change that has to be taken back is taken
/// back, with a line on standard error. One that may still be confirmed is watched from the
/// background again, in case the panel has been restarted meanwhile. Throws Failure. Returns
/// whether one was taken back.
bool settleJournal();

/// A process that watches already may be about to end, because the change before this one is
/// settled. A new change is therefore not left to it.
enum class Watch { NewChange, IfNobodyDoes };

/// Watches the change on the medium from the background, whatever becomes of this program and its
/// terminal, and takes it back when the time to confirm it has passed. Throws Failure.
void watchJournal(Watch kind);
