// The parameter map. It checks nothing: keys and values are the engine's business.
#include "orvex/param.hpp"

#include "problem/text_map.hpp"

namespace orvex {

Param::Param() : impl_(std::make_unique<Impl>()) {}

Param::Param(const Param& other) : impl_(std::make_unique<Impl>(*other.impl_)) {}

Param& Param::operator=(const Param& other) {
    *impl_ = *other.impl_;
    return *this;
}

Param::~Param() = default;

void Param::set(const std::string& key, const std::string& value) {
    impl_->params[key] = value;
}

void Param::set(Callback& callback) {
    impl_->callback = &callback;
}

std::string Param::get(const std::string& key) const {
    return value_or_empty(impl_->params, key);
}

void Param::print(const std::string& delimiter, std::ostream& out) const {
    print_settings(impl_->params, delimiter, out);
}

void Param::print(std::ostream& out, const std::string& delimiter) const {
    print(delimiter, out);
}

Param::Impl& Param::impl() {
    return *impl_;
}

const Param::Impl& Param::impl() const {
    return *impl_;
}

}  // namespace orvex
