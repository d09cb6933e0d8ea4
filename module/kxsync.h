#ifndef KX_KXSYNC_H
#define KX_KXSYNC_H

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>
#include <functional>
#include <utility>

// Hand-offs from the host's threads to the interface thread.
//
// Work a host thread gives the interface thread travels as an event of our
// own through Qt's event queue and runs when the interface thread delivers
// it to its receiver (whose event() hands it to handle()); when the receiver
// is destroyed first, the work is dropped with it. The queue's locking happens inside the toolkit's own
// (uninstrumented) code, so a thread sanitizer cannot see that what the host
// thread wrote before posting is visible to the work: post() states that
// order for it, after the work is built and before it is handed over.
namespace kxsync {

// The event that carries work.
class WorkEvent : public QEvent
{
public:
    explicit WorkEvent(std::function<void()> work);
    static QEvent::Type eventType();
    void run() { m_work(); }

private:
    std::function<void()> m_work;
};

// Runs the event when it is posted work (true) and leaves any other alone.
// Receivers of post() call it first in their event().
bool handle(QEvent* e);

// True on the thread of the application object.
inline bool onInterfaceThread()
{
    QCoreApplication* app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

// Runs f on receiver's (the interface) thread after the events already
// queued there; dropped when receiver is gone by then.
void post(QObject* receiver, std::function<void()> f);

// Runs f at once on the interface thread, or posts it there from any other.
template <typename F>
void runOnUi(QObject* receiver, F&& f)
{
    if (onInterfaceThread())
        f();
    else
        post(receiver, std::forward<F>(f));
}

} // namespace kxsync

#endif
