#include "kxsync.h"

#if defined(__SANITIZE_THREAD__)
#define KX_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KX_TSAN 1
#endif
#endif

#ifdef KX_TSAN
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
#endif

namespace kxsync {

namespace {

// The sanitizer's view of the queue: one token for the whole of it, since a
// FIFO queue under one lock orders every post before every later delivery.
char g_queueToken;

void released()
{
#ifdef KX_TSAN
    __tsan_release(&g_queueToken);
#endif
}

void acquired()
{
#ifdef KX_TSAN
    __tsan_acquire(&g_queueToken);
#endif
}

} // namespace

WorkEvent::WorkEvent(std::function<void()> work)
    : QEvent(eventType())
    , m_work(std::move(work))
{
}

QEvent::Type WorkEvent::eventType()
{
    static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

bool handle(QEvent* e)
{
    if (e->type() != WorkEvent::eventType())
        return false;
    acquired();
    static_cast<WorkEvent*>(e)->run();
    return true;
}

void post(QObject* receiver, std::function<void()> f)
{
    auto* event = new WorkEvent(std::move(f));
    released();
    QCoreApplication::postEvent(receiver, event);
}

} // namespace kxsync
