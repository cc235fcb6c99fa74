// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <string>
#include <vector>
#include <zelvik/math.hpp>

#include "Errors.hpp"

// numpy in and out. An argument is taken as it comes and read inside of the bound function, so that
// what is wrong with it can be said in words: which argument, which shape was expected, which came.

namespace zelvik::python {

/// Argument: numbers in an array, a list, or anything that numpy makes an array of.
struct ArrayLike {
  nb::handle value;
};

/// Result: an array of numpy. The library's numbers are doubles throughout.
struct Array {
  nb::object value;
};

/// Argument: a path as text or as a path object.
struct PathArgument {
  std::string text;
};

/// What may stand in an array beside ordinary numbers.
enum class Allow { FINITE, INFINITE };

/// Writes exactly `count` numbers of a one-dimensional argument to `out`. `what` names the argument
/// in the errors: ValueError for a wrong shape and for NaN, TypeError for what are no numbers.
void readNumbers(ArrayLike argument, const char* what, double* out, size_t count,
                 Allow allow = Allow::FINITE);
/// A one-dimensional argument of any length.
std::vector<double> readList(ArrayLike argument, const char* what);
/// A two-dimensional argument, row by row.
struct Table {
  size_t rows = 0, columns = 0;
  std::vector<double> values;
};
Table readTable(ArrayLike argument, const char* what);

template <size_t n>
Mat<n, 1> readVector(ArrayLike argument, const char* what) {
  Mat<n, 1> out;
  readNumbers(argument, what, out.v, n);
  return out;
}
Mat<3, 3> readMatrix(ArrayLike argument, const char* what);
/// A quaternion w, x, y, z, made a unit one; ValueError for zero.
Mat<4, 1> readQuaternion(ArrayLike argument, const char* what);

/// A number that is finite, as an argument or property; ValueError otherwise.
double checkFinite(double value, const char* what);
/// The same, above zero.
double checkPositive(double value, const char* what);

// Copies, C order, owned by Python.
Array copyVector(const double* values, size_t count);
Array copyTable(const double* values, size_t rows, size_t columns);
/// From our column-major storage.
Array copyColumnMajor(const double* values, size_t rows, size_t columns);

template <size_t n, size_t m>
Array toPython(const Mat<n, m>& matrix) {
  if constexpr (m == 1)
    return copyVector(matrix.v, n);
  else
    return copyColumnMajor(matrix.v, n, m);
}
inline Array toPython(const VecDyn& v) {
  return copyVector(v.v, v.n);
}
inline Array toPython(const MatDyn& M) {
  return copyColumnMajor(M.v, M.n, M.m);
}
/// One row per vector.
Array toPython(const std::vector<Mat<3, 1>>& vectors);

/// The numbers themselves: read-only, on memory that `owner` keeps.
Array viewOf(const double* values, size_t count, nb::handle owner);
/// A two-dimensional array of floats or integers on a vector that Python owns from now on.
template <typename T>
nb::object adopt(std::vector<T>&& values, size_t columns) {
  auto* kept = new std::vector<T>(std::move(values));
  nb::capsule owner(kept, [](void* p) noexcept { delete static_cast<std::vector<T>*>(p); });
  return nb::cast(nb::ndarray<nb::numpy, T, nb::ndim<2>>(kept->data(),
                                                         {kept->size() / columns, columns}, owner));
}

}  // namespace zelvik::python

namespace nanobind::detail {

template <>
struct type_caster<zelvik::python::ArrayLike> {
  NB_TYPE_CASTER(zelvik::python::ArrayLike, const_name("numpy.typing.ArrayLike"))
  bool from_python(handle source, uint32_t, cleanup_list*) noexcept {
    value.value = source;
    return true;
  }
  static handle from_cpp(const zelvik::python::ArrayLike& source, rv_policy,
                         cleanup_list*) noexcept {
    return source.value.inc_ref();
  }
};

template <>
struct type_caster<zelvik::python::Array> {
  NB_TYPE_CASTER(zelvik::python::Array, const_name("numpy.typing.NDArray[numpy.float64]"))
  bool from_python(handle, uint32_t, cleanup_list*) noexcept { return false; }
  static handle from_cpp(const zelvik::python::Array& source, rv_policy, cleanup_list*) noexcept {
    return source.value.inc_ref();
  }
};

template <>
struct type_caster<zelvik::python::PathArgument> {
  NB_TYPE_CASTER(zelvik::python::PathArgument, const_name("str | os.PathLike[str]"))
  bool from_python(handle source, uint32_t, cleanup_list*) noexcept {
    PyObject* path = PyOS_FSPath(source.ptr());
    PyObject* bytes = nullptr;
    const bool good = path != nullptr && PyUnicode_FSConverter(path, &bytes) != 0;
    if (good)
      value.text = PyBytes_AsString(bytes);
    else
      PyErr_Clear();
    Py_XDECREF(path);
    Py_XDECREF(bytes);
    return good;
  }
  static handle from_cpp(const zelvik::python::PathArgument& source, rv_policy,
                         cleanup_list*) noexcept {
    return PyUnicode_DecodeFSDefault(source.text.c_str());
  }
};

}  // namespace nanobind::detail
