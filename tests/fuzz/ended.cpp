// Takes the place of the two functions through which the library ends its process (the linker's
// option --wrap): a target goes on with an exception instead.
#include "fuzz.hpp"
#include "problem/exit_with_message.hpp"

extern "C" {

[[noreturn]] void
__wrap__ZN5orvex11end_processEiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    int, const std::string& text) {
    throw orvex::fuzz::Ended(text);
}

[[noreturn]] void
__wrap__ZN5orvex17exit_with_messageERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    const std::string& text) {
    throw orvex::fuzz::Ended("Error: " + text + "\n");
}

}  // extern "C"
