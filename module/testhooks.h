#ifndef KX_TESTHOOKS_H
#define KX_TESTHOOKS_H

// Points in the module where a test can hold a thread, to make an interleaving
// that is otherwise a matter of luck happen every time. Unset (the shipped
// state) a point costs one atomic load. Not exported from the library.
namespace kxhooks {

enum class Point {
    ScreenAcquired, // an export has checked and taken its module handle
};

typedef void (*Hook)(Point point);
void setHook(Hook hook);
void reached(Point point);

} // namespace kxhooks

#endif
