#pragma once

#include <string>
#include <vector>

/// `cirrus-share sign-in`: has the user sign in with a web browser, and prints an access token or
/// writes it to a file. Takes what follows the word, returns the exit status.
int signInCommand(const std::vector<std::string>& arguments);
