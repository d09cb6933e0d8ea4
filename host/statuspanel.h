// What the host receives, made visible: the side panel, and the same facts as
// JSON for the headless summary, the "state" command and the tests.
#ifndef KXHOST_STATUSPANEL_H
#define KXHOST_STATUSPANEL_H

#include <QJsonObject>
#include <QMap>
#include <QWidget>

class Meeting;
struct Participant;
class QLabel;
class QTreeWidget;

// Host-side counters that are not per participant.
struct HostCounters
{
    QMap<unsigned int, int> messages; // notifications received, by code
    qint64 lastPageTurnMs = -1;       // host clock of the last page turn we asked for
    QString renderer;                 // how the module draws video: "gl" or "raster"
};

class StatusPanel : public QWidget
{
public:
    StatusPanel(const Meeting& meeting, const HostCounters& counters, QWidget* parent = nullptr);
    void refresh();
    Participant* selected() const;

private:
    const Meeting& m_meeting;
    const HostCounters& m_counters;
    QTreeWidget* m_table;
    QLabel* m_totals;
};

// The host's state. `window` is what a screenshot shows; tiles are given in
// its coordinates. `mode` is the gallery's current layout.
QJsonObject hostReport(const Meeting& meeting, const HostCounters& counters, int mode, QWidget* window,
                       QWidget* gallery, qint64 nowMs);
// The human-readable summary printed when a headless run ends.
QString summaryText(const QJsonObject& report);

#endif
