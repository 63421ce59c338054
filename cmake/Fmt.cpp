// The parts of fmt that take long to compile, compiled once instead of in each unit
// that formats: the definitions that its header-only form makes inline, and the
// templates that it declares as defined elsewhere.

#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API dragonbox::decimal_fp<float> dragonbox::to_decimal(float) noexcept;
template FMT_API dragonbox::decimal_fp<double> dragonbox::to_decimal(double) noexcept;

#ifndef FMT_STATIC_THOUSANDS_SEPARATOR
template FMT_API locale_ref::locale_ref(const std::locale&);
template FMT_API std::locale locale_ref::get<std::locale>() const;
#endif
template FMT_API thousands_sep_result<char> thousands_sep_impl(locale_ref);
template FMT_API char decimal_point_impl(locale_ref);

template FMT_API void buffer<char>::append(const char*, const char*);
template FMT_API void vformat_to(buffer<char>&, string_view, vformat_args<char>::type,
                                 locale_ref);

} // namespace detail
FMT_END_NAMESPACE
