#pragma once

#include <QCursor>
#include <QGuiApplication>

namespace Vorta {

/// Shows the wait cursor over the whole application for as long as it lives. GUI thread.
class WaitCursor {
public:
    WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
};

} // namespace Vorta
