#pragma once

#include <Cirrus/Cirrus.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

/// A host's own way to share, as it ships: this code does not know about tests.
class Sharing {
public:
    explicit Sharing(std::string token) : token_(std::move(token)) {}

    /// Shares files with whoever has the link, in the folder "Stashly/`album`". Runs the main
    /// queue until the outcome is there, and gives the link, or words for the user.
    cirrus::Result<std::string, std::string> share(std::vector<std::filesystem::path> files,
                                                   const std::string& album);

private:
    std::string token_;
};
