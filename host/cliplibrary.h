// The participants' video: a short clip per participant, encoded at three
// qualities like a sender's simulcast layers, made with the ffmpeg program from
// its own test sources and kept in a cache directory.
//
// Why at first use and not at build time or in the repository: the cast is
// decided at run time (any meeting size, guests join with names and colours of
// their own, anyone may share a screen), so the set of clips is not known
// before the host runs; and a dozen participants' clips would be megabytes of
// binary video in the repository that go stale whenever their look changes.
// A clip takes about a second to encode; it is made once per build tree
// (the name of its file carries everything it depends on) and reused.
#ifndef KXHOST_CLIPLIBRARY_H
#define KXHOST_CLIPLIBRARY_H

#include <QColor>
#include <QSize>
#include <QString>
#include <QVector>

// What a participant's camera sends. A phone held upright sends portrait
// pictures; some cameras send sizes that are not a multiple of 8 or 16.
enum class CameraShape { Landscape, Portrait, OddSize, Screen };

// One quality of a participant's video as it is on the wire.
struct ClipLayer
{
    int width = 0;
    int height = 0;
    double fps = 0;
    double bytesPerSecond = 0; // encoded, averaged over the whole clip
};

// The sizes of the small, ordinary and large layers (a screen has one).
QVector<QSize> layerSizes(CameraShape shape);

struct ClipRequest
{
    QString title; // burned into the picture
    QColor colour;
    CameraShape shape = CameraShape::Landscape;
};

struct ClipSet
{
    QString path;             // one file, one video stream per layer
    QVector<ClipLayer> layers; // smallest first
};

class ClipLibrary
{
public:
    explicit ClipLibrary(const QString& dir);

    // The clips of one participant, made first if the cache has none (that
    // blocks for about a second). Safe from any thread and from several
    // processes sharing the directory. False with the reason in *error.
    bool clips(const ClipRequest& request, ClipSet* out, QString* error) const;
    // Makes whatever of these the cache lacks, two at a time; says so on
    // standard error when there is anything to make.
    bool prepare(const QVector<ClipRequest>& requests, QString* error) const;

private:
    QString pathFor(const ClipRequest& request) const;
    bool make(const ClipRequest& request, const QString& path, QString* error) const;

    QString m_dir;
};

#endif
