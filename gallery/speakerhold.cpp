#include "speakerhold.h"

#include <algorithm>

SpeakerHold::SpeakerHold(qint64 takeMs, qint64 holdMs)
    : m_takeMs(takeMs)
    , m_holdMs(holdMs)
{
}

bool SpeakerHold::report(const QString& speaker, qint64 now)
{
    if (speaker != m_current) {
        m_current = speaker;
        m_currentSince = now;
    }
    return tick(now);
}

bool SpeakerHold::force(const QString& speaker, qint64 now)
{
    if (speaker.isEmpty() || speaker == m_stage)
        return false;
    m_stage = speaker;
    m_stageSince = now;
    return true;
}

bool SpeakerHold::tick(qint64 now)
{
    const qint64 at = nextChangeAt();
    if (at < 0 || now < at)
        return false;
    m_stage = m_current;
    m_stageSince = now;
    return true;
}

qint64 SpeakerHold::nextChangeAt() const
{
    if (m_current.isEmpty() || m_current == m_stage)
        return -1;
    const qint64 taken = m_currentSince + m_takeMs;
    return m_stage.isEmpty() ? taken : std::max(taken, m_stageSince + m_holdMs);
}

void SpeakerHold::clear()
{
    m_current.clear();
    m_stage.clear();
    m_currentSince = 0;
    m_stageSince = 0;
}

void SpeakerHold::forget(const QString& speaker)
{
    if (speaker.isEmpty())
        return;
    if (m_stage == speaker) {
        m_stage.clear();
        m_stageSince = 0;
    }
    if (m_current == speaker) {
        m_current.clear();
        m_currentSince = 0;
    }
}
