#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/errors.h"

namespace vyn {

/// Type record of a value of the data set; records are compared by address.
class VynTypeInterface {
  public:
    virtual ~VynTypeInterface() = default;
    virtual std::string_view name() const = 0;  ///< "int", "double" or "string"
};

/// The type record of T, for the data set's types int, double and std::string.
template <class T>
struct VynTypeTraits {
    static const VynTypeInterface* const vyn_type;
};
template <>
const VynTypeInterface* const VynTypeTraits<int>::vyn_type;
template <>
const VynTypeInterface* const VynTypeTraits<double>::vyn_type;
template <>
const VynTypeInterface* const VynTypeTraits<std::string>::vyn_type;

/// Holds one value of any of the data set's types, or a const reference to one held elsewhere.
class any {
  public:
    any() = default;
    template <class T>
    explicit any(T value) : content_(std::make_unique<Value<T>>(std::move(value))) {}
    any(const any& other) : content_(other.content_ ? other.content_->clone() : nullptr) {}
    any(any&&) noexcept = default;
    any& operator=(const any& other) {
        if (this != &other) content_ = other.content_ ? other.content_->clone() : nullptr;
        return *this;
    }
    any& operator=(any&&) noexcept = default;
    ~any() = default;

    /// A holder that refers to `value`, which must outlive it; it refuses assignment.
    template <class T>
    static any const_ref(const T& value) {
        any holder;
        holder.content_ = std::make_unique<Reference<T>>(&value);
        return holder;
    }

    bool empty() const { return content_ == nullptr; }

    /// The type record of the content; null when empty.
    const VynTypeInterface* type() const { return content_ ? content_->type() : nullptr; }

    template <class T>
    bool holds() const {
        return type() == VynTypeTraits<T>::vyn_type;
    }

    /// The value. Raises BadCast when the content is of another type.
    template <class T>
    const T& get() const {
        if (!holds<T>()) throw BadCast("", {"ds/vynDataTypes", 41});
        return *static_cast<const T*>(content_->address());
    }

    /// Stores a value. Raises StateError on a const reference.
    template <class T>
    void set(T value) {
        if (content_ && content_->is_reference())
            throw StateError("Attempted to assign value to a const ref", "",
                             {"ds/vynDataTypes", 52});
        content_ = std::make_unique<Value<T>>(std::move(value));
    }

  private:
    struct Content {
        virtual ~Content() = default;
        virtual std::unique_ptr<Content> clone() const = 0;
        virtual const VynTypeInterface* type() const = 0;
        virtual const void* address() const = 0;
        virtual bool is_reference() const = 0;
    };
    template <class T>
    struct Value final : Content {
        explicit Value(T v) : value(std::move(v)) {}
        std::unique_ptr<Content> clone() const override { return std::make_unique<Value>(value); }
        const VynTypeInterface* type() const override { return VynTypeTraits<T>::vyn_type; }
        const void* address() const override { return &value; }
        bool is_reference() const override { return false; }
        T value;
    };
    template <class T>
    struct Reference final : Content {
        explicit Reference(const T* v) : value(v) {}
        std::unique_ptr<Content> clone() const override {
            return std::make_unique<Reference>(value);
        }
        const VynTypeInterface* type() const override { return VynTypeTraits<T>::vyn_type; }
        const void* address() const override { return value; }
        bool is_reference() const override { return true; }
        const T* value;
    };

    std::unique_ptr<Content> content_;
};

}  // namespace vyn
