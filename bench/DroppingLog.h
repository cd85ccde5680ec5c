#pragma once

#include <Cirrus/Cirrus.h>

namespace cirrus::bench {

class DroppingLog final : public LogSink {
public:
    void detail(const Message&, std::string_view, std::string_view, int, const std::any&) override {
    }

    void notice(const Message&, std::string_view, std::string_view, int, const std::any&) override {
    }

    void failure(const Message&, std::string_view, std::string_view, int,
                 const std::any&) override {}
};

} // namespace cirrus::bench
