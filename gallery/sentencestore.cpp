#include "sentencestore.h"

#include <algorithm>
#include <chrono>

namespace kxsubtitle {

namespace {

qint64 steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// A cut never leaves half of a surrogate pair at the edge it made.
QString tail(const QString& s, int maxChars)
{
    if (s.size() <= maxChars)
        return s;
    QString out = s.right(maxChars);
    if (!out.isEmpty() && out.at(0).isLowSurrogate())
        out.remove(0, 1);
    return out;
}

QString head(const QString& s, int maxChars)
{
    if (s.size() <= maxChars)
        return s;
    QString out = s.left(maxChars);
    if (!out.isEmpty() && out.at(out.size() - 1).isHighSurrogate())
        out.chop(1);
    return out;
}

} // namespace

SentenceStore::SentenceStore(Clock clock, qint64 lifetimeMs)
    : m_clock(clock ? std::move(clock) : Clock(&steadyMs))
    , m_lifetimeMs(lifetimeMs)
{
}

// Bytes that were not UTF-8 arrive as replacement characters: a reader can
// do nothing with them.
QString SentenceStore::clipText(const QString& text)
{
    // Cut before cleaning so that a huge text costs only its tail; the slack
    // keeps the limit once runs of spaces have been folded.
    QString t = tail(text, 4 * kMaxTextChars);
    return tail(t.remove(QChar::ReplacementCharacter).simplified(), kMaxTextChars);
}

QString SentenceStore::clipName(const QString& name)
{
    QString n = head(name, 4 * kMaxNameChars);
    return head(n.remove(QChar::ReplacementCharacter).simplified(), kMaxNameChars);
}

bool SentenceStore::add(int iType, int iIndex, const QString& name, const QString& text)
{
    const bool bFinal = iType != 0;
    const QString n = clipName(name);
    const QString t = clipText(text);
    const qint64 now = m_clock();
    for (Sentence& s : m_sentences) {
        if (s.index != iIndex)
            continue;
        // A partial result that arrives after the final one is stale.
        if (s.bFinal && !bFinal)
            return false;
        if (s.bFinal == bFinal && s.name == n && s.text == t)
            return false;
        s.bFinal = bFinal;
        s.name = n;
        s.text = t;
        s.changedAt = now;
        return true;
    }
    m_sentences.append(Sentence{iIndex, bFinal, n, t, now});
    if (m_sentences.size() > kMaxSentences)
        m_sentences.remove(0, m_sentences.size() - kMaxSentences);
    return true;
}

bool SentenceStore::clear()
{
    const bool had = !m_sentences.isEmpty();
    m_sentences.clear();
    return had;
}

bool SentenceStore::expire()
{
    const qint64 now = m_clock();
    const qint64 life = m_lifetimeMs;
    const auto gone = std::remove_if(m_sentences.begin(), m_sentences.end(),
                                     [now, life](const Sentence& s) { return now - s.changedAt >= life; });
    if (gone == m_sentences.end())
        return false;
    m_sentences.erase(gone, m_sentences.end());
    return true;
}

qint64 SentenceStore::msToNextExpiry() const
{
    if (m_sentences.isEmpty())
        return -1;
    qint64 oldest = m_sentences.first().changedAt;
    for (const Sentence& s : m_sentences)
        oldest = std::min(oldest, s.changedAt);
    return std::max<qint64>(0, oldest + m_lifetimeMs - m_clock());
}

} // namespace kxsubtitle
