#pragma once

/// For hosts with a GLib main loop (GTK among them). Needs GLib's headers; the library itself does
/// not.

#include <glib.h>

#include <memory>
#include <utility>

#include <Cirrus/MainQueue.h>

namespace cirrus {

/// Makes a GLib main context, the default one when null, the main queue: every callback of the
/// library runs on the thread that iterates the context, at default priority. Call it before the
/// first share job, from any thread. The context is kept alive until another dispatcher replaces
/// this one.
inline void useGLibMainContext(GMainContext* context = nullptr) {
    const std::shared_ptr<GMainContext> held(
        g_main_context_ref(context != nullptr ? context : g_main_context_default()),
        g_main_context_unref);
    MainQueue::setDispatcher([held](MainQueue::Task task) {
        const auto run = [](gpointer data) -> gboolean {
            (*static_cast<MainQueue::Task*>(data))();
            return G_SOURCE_REMOVE;
        };
        const auto destroy = [](gpointer data) { delete static_cast<MainQueue::Task*>(data); };
        // Not g_main_context_invoke, which would run the task here and now on the loop's thread.
        GSource* const source = g_idle_source_new();
        g_source_set_priority(source, G_PRIORITY_DEFAULT);
        g_source_set_callback(source, run, new MainQueue::Task(std::move(task)), destroy);
        g_source_attach(source, held.get());
        g_source_unref(source);
    });
}

} // namespace cirrus
