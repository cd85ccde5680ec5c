#pragma once

// For hosts with a GLib main loop (GTK among them). Needs GLib's headers; the library itself does
// not.

#include <glib.h>

#include <memory>

#include <Cirrus/MainQueue.h>

namespace cirrus {

/// Makes a GLib main context, the default one when null, the main queue: every callback of the
/// library runs on the thread that iterates the context, at default priority. Call it before the
/// first share job, from any thread. The context is kept alive until another wake-up is set.
inline void useGLibMainContext(GMainContext* context = nullptr) {
    const std::shared_ptr<GMainContext> held(
        g_main_context_ref(context != nullptr ? context : g_main_context_default()),
        g_main_context_unref);
    MainQueue::setWakeUp([held] {
        const auto drain = [](gpointer) -> gboolean {
            MainQueue::drain();
            return G_SOURCE_REMOVE;
        };
        // Not g_main_context_invoke, which would drain here and now on the loop's thread.
        GSource* const source = g_idle_source_new();
        g_source_set_priority(source, G_PRIORITY_DEFAULT);
        g_source_set_callback(source, drain, nullptr, nullptr);
        g_source_attach(source, held.get());
        g_source_unref(source);
    });
}

} // namespace cirrus
