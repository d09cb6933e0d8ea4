#ifndef KX_SPEAKERHOLD_H
#define KX_SPEAKERHOLD_H

#include <QString>
#include <QtGlobal>

// Who holds the stage as active speaker, with hysteresis against flicker when
// people talk over each other.
//
// The host reports the participant speaking now (empty when nobody, or only
// the local user, is). A new speaker takes the stage once it has been reported
// without a break for kTakeMs, and a speaker on the stage keeps it at least
// kHoldMs; a report of the speaker already reported changes nothing, and
// silence leaves the last speaker on the stage. Time is given by the caller
// (milliseconds on any steady clock), so the rule runs on plain inputs.
class SpeakerHold
{
public:
    // Long enough that a cough, a "yes" or a few words across someone else do
    // not move the stage; short enough that a real change of speaker follows
    // within two seconds.
    static constexpr qint64 kTakeMs = 1500;
    // Once someone has the stage, the picture stays put long enough to be
    // watched, even when two people alternate quickly.
    static constexpr qint64 kHoldMs = 3000;

    explicit SpeakerHold(qint64 takeMs = kTakeMs, qint64 holdMs = kHoldMs);

    // The participant speaking now; true when the stage changed.
    bool report(const QString& speaker, qint64 now);
    // The host decides who speaks (voice activation): that participant has
    // the stage from now, without the wait, and holds it as any speaker does.
    // True when the stage changed.
    bool force(const QString& speaker, qint64 now);
    // Time passes; true when the stage changed.
    bool tick(qint64 now);
    // The participant on the stage (empty before anyone has taken it).
    QString stage() const { return m_stage; }
    // The last participant reported.
    QString current() const { return m_current; }
    // When tick() can next change the stage, or -1 when nothing is pending.
    qint64 nextChangeAt() const;
    // Forgets everything (voice activation was cancelled).
    void clear();
    // A participant has left: off the stage at once (the next speaker need
    // not wait out the hold), and no longer the one reported.
    void forget(const QString& speaker);

private:
    qint64 m_takeMs;
    qint64 m_holdMs;
    QString m_current;
    qint64 m_currentSince = 0;
    QString m_stage;
    qint64 m_stageSince = 0;
};

#endif
