// The solution: packed bits, attributes in two maps, and a log that grows with each copy into it.
#include "orvex/sol.hpp"

#include <algorithm>
#include <cassert>
#include <iomanip>
#include <ostream>

#include "problem/exit_with_message.hpp"
#include "problem/print_option.hpp"
#include "problem/text_map.hpp"

namespace orvex {
namespace {

int words_of(int bits) {
    return static_cast<int>((long{bits} + 63) / 64);
}

std::unique_ptr<std::uint64_t[]> zeroed(int words) {
    return std::make_unique<std::uint64_t[]>(static_cast<std::size_t>(words));
}

void take_length(Sol::Impl& to, const Sol::Impl& from) {
    to.data = zeroed(from.words);
    to.bits = from.bits;
    to.words = from.words;
}

// The whole log is taken wherever its reader has got to; afterwards that is the end.
void append_log(std::stringstream& to, const std::stringstream& from) {
    to << from.str();
    from.rdbuf()->pubseekoff(0, std::ios_base::end, std::ios_base::in);
}

void take_contents(Sol::Impl& to, const Sol::Impl& from) {
    if (&to != &from) {
        std::copy_n(from.data.get(), from.words, to.data.get());
        to.attrs = from.attrs;
        to.env = from.env;
    }
    append_log(to.log, from.log);
}

void print_bits(const Sol& sol, char delimiter, std::ostream& out) {
    for (int i = 0; i < sol.impl().bits; ++i) {
        if (i > 0 && delimiter != ' ') out << delimiter;
        out << std::setw(1) << (sol.get(i) ? '1' : '0');
    }
    out << std::endl;
}

}  // namespace

Sol::Impl::Impl(int n) : bits(n), words(words_of(n)), data(zeroed(words)) {}

Sol::Impl::Impl(const Impl& other) : Impl(other.bits) {
    take_contents(*this, other);
}

Sol::Impl& Sol::Impl::operator=(const Impl& other) {
    if (words != other.words) take_length(*this, other);
    take_contents(*this, other);
    return *this;
}

Sol::Impl::~Impl() = default;

Sol::Sol() : Sol(0) {}

Sol::Sol(int n) : impl_(std::make_unique<Impl>(n)) {
    impl_->attrs["energy"] = "0";
}

Sol::Sol(const Sol& other) : impl_(std::make_unique<Impl>(other.impl_->bits)) {
    *impl_ = *other.impl_;
}

Sol::Sol(Sol&& other) noexcept = default;

Sol& Sol::operator=(const Sol& other) {
    if (!impl_) impl_ = std::make_unique<Impl>(other.impl_->bits);
    if (impl_->bits != other.impl_->bits) take_length(*impl_, *other.impl_);
    take_contents(*impl_, *other.impl_);
    return *this;
}

Sol& Sol::operator=(Sol&& other) noexcept {
    impl_.swap(other.impl_);
    return *this;
}

Sol::~Sol() = default;

void Sol::set(int i, bool value) {
    assert(0 <= i && i < impl_->bits);
    const std::uint64_t bit = std::uint64_t{1} << (i % 64);
    std::uint64_t& word = impl_->data[static_cast<std::size_t>(i / 64)];
    word = value ? word | bit : word & ~bit;
}

bool Sol::get(int i) const {
    assert(0 <= i && i < impl_->bits);
    return impl_->data[static_cast<std::size_t>(i / 64)] >> (i % 64) & 1;
}

void Sol::set(const std::string& key, const std::string& value) {
    impl_->attrs[key] = value;
}

std::string Sol::get(const std::string& key) const {
    const auto found = impl_->attrs.find(key);
    return found != impl_->attrs.end() ? found->second : value_or_empty(impl_->env, key);
}

void Sol::print(const std::string& option, std::ostream& out) const {
    const PRINT_OPTION wanted(option);
    const bool sol = wanted.wants("sol"), attrs = wanted.wants("attrs");
    const bool env = wanted.wants("env"), log = wanted.wants("log");
    if (sol) print_bits(*this, wanted.delimiter, out);
    if (attrs) print_attributes(impl_->attrs, wanted.delimiter, out);
    if (env) print_attributes(impl_->env, wanted.delimiter, out);
    if (log) out << impl_->log.str();
    if (!(sol || attrs || env || log)) {
        exit_with_message("wrong sol print option \"" + option + "\".");
    }
}

void Sol::print(std::ostream& out, const std::string& option) const {
    print(option, out);
}

Sol::Impl& Sol::impl() {
    return *impl_;
}

const Sol::Impl& Sol::impl() const {
    return *impl_;
}

}  // namespace orvex
