#pragma once

#include <functional>

namespace vyn {

using InformationFunction = std::function<void(const char* text)>;
using QuestionFunction = std::function<bool(const char* text)>;

/// How the libraries talk to the user. By default information goes to standard error and a
/// question is answered No.
void set_custom_message_fun(InformationFunction information, QuestionFunction question);
void set_default_message_fun();

/// Shows an information text.
void message(const char* text);
/// Asks a yes-or-no question; true exactly when the answer was Yes.
bool question(const char* text);

}  // namespace vyn
