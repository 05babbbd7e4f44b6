#include "core/any.h"

namespace vyn {

namespace {

class TypeRecord final : public VynTypeInterface {
  public:
    explicit constexpr TypeRecord(std::string_view name) : name_(name) {}
    std::string_view name() const override { return name_; }

  private:
    std::string_view name_;
};

const TypeRecord int_record("int");
const TypeRecord double_record("double");
const TypeRecord string_record("string");

}  // namespace

template <>
const VynTypeInterface* const VynTypeTraits<int>::vyn_type = &int_record;
template <>
const VynTypeInterface* const VynTypeTraits<double>::vyn_type = &double_record;
template <>
const VynTypeInterface* const VynTypeTraits<std::string>::vyn_type = &string_record;

}  // namespace vyn
