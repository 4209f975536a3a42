// The model: weights written to both triangles, a revision that counts the writes, and attributes.
// Copies carry the weights and nothing else: neither attributes nor revision.
#include "orvex/model.hpp"

#include <cassert>

#include "problem/text_map.hpp"

namespace orvex {

Model::Impl::Impl(int size_, int bits_)
    : size(size_), bits(bits_), mat(static_cast<unsigned>(size_), static_cast<unsigned>(bits_)) {}

Model::Impl::~Impl() = default;

Model::Impl& Model::Impl::operator=(const Impl& other) {
    mat = other.mat;
    return *this;
}

Model::Model(int size, int bits) : impl_(std::make_unique<Impl>(size, bits)) {
    set("size", std::to_string(size));
    set("bits", std::to_string(bits));
}

Model::Model(int size, long min, long max) : Model(size, find_wbit(min, max)) {}

Model::Model(const Model& other)
    : impl_(std::make_unique<Impl>(other.impl_->size, other.impl_->bits)) {
    *impl_ = *other.impl_;
}

Model& Model::operator=(const Model& other) {
    *impl_ = *other.impl_;
    return *this;
}

Model::~Model() = default;

void Model::set(int i, int j, long value) {
    assert(0 <= i && i < impl_->size && 0 <= j && j < impl_->size);
    MAT& mat = impl_->mat;
    const auto row = static_cast<unsigned>(i), column = static_cast<unsigned>(j);
    mat.set_func(mat, row, column, value);
    mat.set_func(mat, column, row, value);
    ++impl_->revision;
}

long Model::get(int i, int j) const {
    assert(0 <= i && i < impl_->size && 0 <= j && j < impl_->size);
    return impl_->mat.get_func(impl_->mat, static_cast<unsigned>(i), static_cast<unsigned>(j));
}

void Model::set(const std::string& key, const std::string& value) {
    impl_->attrs[key] = value;
}

std::string Model::get(const std::string& key) const {
    return value_or_empty(impl_->attrs, key);
}

Model::Impl& Model::impl() {
    return *impl_;
}

const Model::Impl& Model::impl() const {
    return *impl_;
}

}  // namespace orvex
