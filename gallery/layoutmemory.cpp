#include "layoutmemory.h"

namespace {

int validMode(int mode)
{
    return mode >= 1 && mode <= 9 ? mode : 1;
}

} // namespace

LayoutMemory::LayoutMemory(int home)
    : m_home(validMode(home))
{
}

int LayoutMemory::indexOf(Cause cause, const QString& key) const
{
    for (int i = 0; i < m_entries.size(); ++i) {
        if (m_entries.at(i).cause == cause && m_entries.at(i).key == key)
            return i;
    }
    return -1;
}

void LayoutMemory::begin(Cause cause, const QString& key, int current)
{
    const int i = indexOf(cause, key);
    if (i >= 0) {
        if (!m_entries.at(i).decides) {
            m_entries.remove(i);
            m_entries.append({cause, key, true});
        }
        return;
    }
    if (m_entries.isEmpty())
        m_home = validMode(current);
    m_entries.append({cause, key, true});
}

void LayoutMemory::end(Cause cause, const QString& key)
{
    const int i = indexOf(cause, key);
    if (i < 0)
        return;
    m_entries.remove(i);
    if (cause == Share && key == m_chosenShare)
        m_chosenShare.clear();
}

bool LayoutMemory::isActive(Cause cause, const QString& key) const
{
    return indexOf(cause, key) >= 0;
}

void LayoutMemory::choose(int mode)
{
    m_home = validMode(mode);
    for (Entry& e : m_entries)
        e.decides = false;
}

void LayoutMemory::reset(int mode)
{
    m_entries.clear();
    m_chosenShare.clear();
    m_home = validMode(mode);
}

int LayoutMemory::layout() const
{
    int mode = m_home;
    for (const Entry& e : m_entries) {
        if (!e.decides)
            continue;
        switch (e.cause) {
        case Share:
        case WhiteBoard:
            mode = 4;
            break;
        case PicInPic:
            // The window shows in the stage layout and beside a full view.
            if (mode != 9)
                mode = 4;
            break;
        case FullView:
            mode = 9;
            break;
        case Look:
            // Any layout with a big tile shows the participant looked at.
            if (mode < 4)
                mode = 5;
            break;
        }
    }
    return mode;
}

QString LayoutMemory::stageShare() const
{
    if (!m_chosenShare.isEmpty())
        return m_chosenShare;
    for (const Entry& e : m_entries) {
        if (e.cause == Share)
            return e.key;
    }
    return QString();
}

bool LayoutMemory::chooseStageShare(const QString& key)
{
    if (!isActive(Share, key))
        return false;
    m_chosenShare = key;
    return true;
}
