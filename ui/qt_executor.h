// The link's events reach the GUI thread as queued calls on a context object.
#pragma once

#include <QMetaObject>
#include <QObject>

#include "link/service_link.h"

namespace kv::ui {

class QtExecutor final : public link::Executor {
public:
    explicit QtExecutor(QObject* context) : context_(context) {}
    /// Queues `fn` for the context's thread; it never runs before post returns. Calls still
    /// queued when the context is destroyed are dropped with it.
    void post(std::function<void()> fn) override {
        QMetaObject::invokeMethod(
            context_,
            [this, fn = std::move(fn)] {
                fn();
                if (afterEach) afterEach();
            },
            Qt::QueuedConnection);
    }

    /// Runs on the context's thread after each event (the forms show what it changed).
    std::function<void()> afterEach;

private:
    QObject* context_;
};

}  // namespace kv::ui
