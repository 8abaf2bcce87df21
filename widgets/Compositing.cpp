#include "Compositing.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QGuiApplication>

#ifdef PICTOVA_HAVE_XCB
#include <xcb/xcb.h>

#include <cstdlib>

namespace {

// A compositing manager owns the selection "_NET_WM_CM_S<screen>" (EWMH).
// Qt's own connection is private API, so the check keeps one of its own.
bool x11CompositorRunning()
{
    static int screen = 0;
    static xcb_connection_t* connection = [] {
        xcb_connection_t* c = xcb_connect(nullptr, &screen);
        if (xcb_connection_has_error(c)) {
            xcb_disconnect(c);
            return static_cast<xcb_connection_t*>(nullptr);
        }
        return c;
    }();
    if (!connection)
        return true; // cannot tell: keep the shadow as on any other desktop
    static xcb_atom_t selection = [] {
        const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(screen);
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, name.size(), name.constData()), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return atom;
    }();
    if (selection == XCB_ATOM_NONE)
        return true;
    xcb_get_selection_owner_reply_t* owner = xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, selection), nullptr);
    const bool owned = owner && owner->owner != XCB_WINDOW_NONE;
    std::free(owner);
    return owned;
}

} // namespace
#endif

bool Compositing::active()
{
#ifdef PICTOVA_HAVE_XCB
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return true;
    static QElapsedTimer lastAsked;
    static bool running = true;
    if (!lastAsked.isValid() || lastAsked.elapsed() > 2000) {
        running = x11CompositorRunning();
        lastAsked.start();
    }
    return running;
#else
    return true;
#endif
}
