#ifndef KX_MODULEAPP_H
#define KX_MODULEAPP_H

// Process-wide start-up and tear-down of the module.
namespace kxmodule {

// Brings the module up once: scale factors and environment, the application
// object (the host's when there is one), resources, translation, the
// configuration. Every export calls it first; it is cheap after the first time.
void ensureAttached();
void processAttach();
// Deletes the configuration and, only when the module created it, the
// application object.
void processDetach();
// True when the module created the QApplication itself.
bool ownsApplication();
// Scale factors found at attach (primary, other).
float primaryScaleFactor();
float otherScaleFactor();

} // namespace kxmodule

#endif
