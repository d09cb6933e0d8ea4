#ifndef KX_SENTENCESTORE_H
#define KX_SENTENCESTORE_H

#include <QString>
#include <QVector>
#include <functional>

namespace kxsubtitle {

// The live captions: sentences keyed by the host's index, oldest first. A
// speech recogniser revises the sentence it is hearing (partial) until it is
// done with it (final); the store keeps each sentence in the place it first
// took, so revisions never reorder what people are reading. Every sentence
// goes 6 s after its last change, and at most 50 are kept, the oldest
// dropped first. Time comes from the clock given (monotonic milliseconds),
// so that tests can move it.
class SentenceStore
{
public:
    using Clock = std::function<qint64()>;

    static constexpr int kMaxSentences = 50;
    static constexpr qint64 kLifetimeMs = 6000;
    // Three wrapped lines of the widest band hold far fewer characters: the
    // rest of a longer text is never read, and is not kept.
    static constexpr int kMaxTextChars = 600;
    static constexpr int kMaxNameChars = 64;

    struct Sentence {
        int index = 0;
        bool bFinal = false;
        QString name;
        QString text;
        qint64 changedAt = 0;
    };

    // No clock: a monotonic clock of the process. Tests shorten the lifetime.
    explicit SentenceStore(Clock clock = Clock(), qint64 lifetimeMs = kLifetimeMs);

    // iType 0 is a partial sentence, any other value a final one. A new index
    // starts a new sentence; a known index is revised in place, except that a
    // finished sentence is not reopened by a late partial one. True when what
    // is shown changed.
    bool add(int iType, int iIndex, const QString& name, const QString& text);
    // True when there was something to clear.
    bool clear();
    // Drops the sentences unchanged for the lifetime; true when any went.
    bool expire();
    // Milliseconds until the next sentence expires (0 when one is due), -1 when empty.
    qint64 msToNextExpiry() const;

    const QVector<Sentence>& sentences() const { return m_sentences; }
    int size() const { return m_sentences.size(); }
    qint64 lifetimeMs() const { return m_lifetimeMs; }

    // Whitespace runs (line breaks included) become one space, replacement
    // characters go, and only the last kMaxTextChars characters stay: the
    // newest words are the ones read.
    static QString clipText(const QString& text);
    // The first kMaxNameChars characters of a name, cleaned the same way.
    static QString clipName(const QString& name);

private:
    Clock m_clock;
    qint64 m_lifetimeMs;
    QVector<Sentence> m_sentences;
};

} // namespace kxsubtitle

#endif
