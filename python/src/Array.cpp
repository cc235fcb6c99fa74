// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Array.hpp"

#include <cmath>
#include <cstring>

namespace zelvik::python {

namespace {

std::string nameOfType(nb::handle value) {
  return nb::cast<std::string>(nb::str(value.type().attr("__name__")));
}

std::string textOfShape(const std::vector<size_t>& shape) {
  std::string text = "(";
  for (size_t i = 0; i < shape.size(); ++i) text += (i > 0 ? ", " : "") + std::to_string(shape[i]);
  return text + (shape.size() == 1 ? ",)" : ")");
}

/// The memory of an array of doubles, or of the array that numpy makes of something else.
class Numbers {
 public:
  Numbers(nb::handle argument, const char* what) {
    if (!open(argument)) {
      converted_ = convert(argument, what);
      if (!open(converted_)) throwTypeError(std::string(what) + ": numpy gave no array of numbers");
    }
    for (int i = 0; i < view_.ndim; ++i) shape_.push_back(static_cast<size_t>(view_.shape[i]));
  }
  ~Numbers() { PyBuffer_Release(&view_); }
  Numbers(const Numbers&) = delete;
  Numbers& operator=(const Numbers&) = delete;

  const std::vector<size_t>& shape() const { return shape_; }
  double at(size_t i) const { return read(static_cast<Py_ssize_t>(i) * view_.strides[0]); }
  double at(size_t i, size_t j) const {
    return read(static_cast<Py_ssize_t>(i) * view_.strides[0] +
                static_cast<Py_ssize_t>(j) * view_.strides[1]);
  }

 private:
  bool open(nb::handle array) {
    if (!PyObject_CheckBuffer(array.ptr()) ||
        PyObject_GetBuffer(array.ptr(), &view_, PyBUF_STRIDED_RO | PyBUF_FORMAT) != 0) {
      PyErr_Clear();
      return false;
    }
    if (view_.format != nullptr && std::strcmp(view_.format, "d") == 0 && view_.ndim > 0)
      return true;
    PyBuffer_Release(&view_);
    return false;
  }

  static nb::object convert(nb::handle argument, const char* what) {
    try {
      const nb::module_ numpy = nb::module_::import_("numpy");
      const nb::object array = numpy.attr("asarray")(argument);
      const auto kind = nb::cast<std::string>(array.attr("dtype").attr("kind"));
      if (kind == "b" || kind == "i" || kind == "u" || kind == "f") {
        const nb::object doubles = numpy.attr("asarray")(array, "float64");
        // A number on its own has no shape; it stands for itself in a list of one.
        return numpy.attr("atleast_1d")(doubles);
      }
    } catch (nb::python_error& error) {
      // A list of unequal lists, or a conversion of the argument's own that failed.
      if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_TypeError)) throw;
    }
    throwTypeError(std::string(what) + ": expected numbers, got " + nameOfType(argument));
  }

  double read(Py_ssize_t offset) const {
    double value;
    std::memcpy(&value, static_cast<const char*>(view_.buf) + offset, sizeof value);
    return value;
  }

  Py_buffer view_{};
  nb::object converted_;
  std::vector<size_t> shape_;
};

void checkShape(const Numbers& numbers, const char* what, const std::string& expected, bool good) {
  if (!good)
    throwValueError(std::string(what) + ": expected shape " + expected + ", got " +
                    textOfShape(numbers.shape()));
}

void checkNumbers(const double* values, size_t count, const char* what, Allow allow) {
  for (size_t i = 0; i < count; ++i)
    if (std::isnan(values[i]) || (allow == Allow::FINITE && std::isinf(values[i])))
      throwValueError(std::string(what) + ": entry " + std::to_string(i) + " is " +
                      (std::isnan(values[i]) ? "nan" : "infinite"));
}

/// Lists and tuples of floats and integers need no array in between.
bool readSequence(nb::handle argument, double* out, size_t count) {
  const bool isList = PyList_CheckExact(argument.ptr()) != 0;
  if (!isList && PyTuple_CheckExact(argument.ptr()) == 0) return false;
  const Py_ssize_t size = isList ? PyList_Size(argument.ptr()) : PyTuple_Size(argument.ptr());
  if (size != static_cast<Py_ssize_t>(count)) return false;
  for (Py_ssize_t i = 0; i < size; ++i) {
    PyObject* item =
        isList ? PyList_GetItem(argument.ptr(), i) : PyTuple_GetItem(argument.ptr(), i);
    if (PyFloat_CheckExact(item) == 0 && PyLong_CheckExact(item) == 0) return false;
    out[i] = PyFloat_AsDouble(item);
    if (out[i] == -1.0 && PyErr_Occurred() != nullptr) throw nb::python_error();
  }
  return true;
}

nb::capsule ownerOf(double* values) {
  return nb::capsule(values, [](void* p) noexcept { delete[] static_cast<double*>(p); });
}

}  // namespace

void readNumbers(ArrayLike argument, const char* what, double* out, size_t count, Allow allow) {
  if (!readSequence(argument.value, out, count)) {
    const Numbers numbers(argument.value, what);
    checkShape(numbers, what, textOfShape({count}),
               numbers.shape().size() == 1 && numbers.shape()[0] == count);
    for (size_t i = 0; i < count; ++i) out[i] = numbers.at(i);
  }
  checkNumbers(out, count, what, allow);
}

std::vector<double> readList(ArrayLike argument, const char* what) {
  const Numbers numbers(argument.value, what);
  checkShape(numbers, what, "(n,)", numbers.shape().size() == 1);
  std::vector<double> values(numbers.shape()[0]);
  for (size_t i = 0; i < values.size(); ++i) values[i] = numbers.at(i);
  checkNumbers(values.data(), values.size(), what, Allow::FINITE);
  return values;
}

Table readTable(ArrayLike argument, const char* what) {
  const Numbers numbers(argument.value, what);
  checkShape(numbers, what, "(n, m)", numbers.shape().size() == 2);
  Table table;
  table.rows = numbers.shape()[0];
  table.columns = numbers.shape()[1];
  table.values.reserve(table.rows * table.columns);
  for (size_t i = 0; i < table.rows; ++i)
    for (size_t j = 0; j < table.columns; ++j) table.values.push_back(numbers.at(i, j));
  checkNumbers(table.values.data(), table.values.size(), what, Allow::FINITE);
  return table;
}

Mat<3, 3> readMatrix(ArrayLike argument, const char* what) {
  const Numbers numbers(argument.value, what);
  checkShape(numbers, what, "(3, 3)", numbers.shape() == std::vector<size_t>{3, 3});
  Mat<3, 3> out;
  for (size_t i = 0; i < 3; ++i)
    for (size_t j = 0; j < 3; ++j) out(i, j) = numbers.at(i, j);
  checkNumbers(out.v, 9, what, Allow::FINITE);
  return out;
}

Mat<4, 1> readQuaternion(ArrayLike argument, const char* what) {
  Mat<4, 1> q = readVector<4>(argument, what);
  const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  if (!(length > 0.0)) throwValueError(std::string(what) + ": a quaternion of length 0");
  q *= 1.0 / length;
  return q;
}

double checkFinite(double value, const char* what) {
  if (!std::isfinite(value))
    throwValueError(std::string(what) + ": expected a finite number, got " +
                    (std::isnan(value) ? "nan" : "an infinite one"));
  return value;
}

double checkPositive(double value, const char* what) {
  if (!(checkFinite(value, what) > 0.0))
    throwValueError(std::string(what) + ": expected a number above 0, got " +
                    nb::cast<std::string>(nb::str(nb::float_(value))));
  return value;
}

Array copyVector(const double* values, size_t count) {
  auto* copy = new double[count];
  const nb::capsule owner = ownerOf(copy);
  if (count > 0) std::memcpy(copy, values, count * sizeof(double));
  return {nb::cast(nb::ndarray<nb::numpy, double, nb::ndim<1>>(copy, {count}, owner))};
}

Array copyTable(const double* values, size_t rows, size_t columns) {
  auto* copy = new double[rows * columns];
  const nb::capsule owner = ownerOf(copy);
  if (rows * columns > 0) std::memcpy(copy, values, rows * columns * sizeof(double));
  return {nb::cast(nb::ndarray<nb::numpy, double, nb::ndim<2>>(copy, {rows, columns}, owner))};
}

Array copyColumnMajor(const double* values, size_t rows, size_t columns) {
  auto* copy = new double[rows * columns];
  const nb::capsule owner = ownerOf(copy);
  for (size_t i = 0; i < rows; ++i)
    for (size_t j = 0; j < columns; ++j) copy[i * columns + j] = values[i + j * rows];
  return {nb::cast(nb::ndarray<nb::numpy, double, nb::ndim<2>>(copy, {rows, columns}, owner))};
}

Array toPython(const std::vector<Mat<3, 1>>& vectors) {
  static_assert(sizeof(Mat<3, 1>) == 3 * sizeof(double));
  return copyTable(vectors.empty() ? nullptr : vectors[0].v, vectors.size(), 3);
}

Array viewOf(const double* values, size_t count, nb::handle owner) {
  return {nb::cast(nb::ndarray<nb::numpy, const double, nb::ndim<1>>(values, {count}, owner))};
}

}  // namespace zelvik::python
