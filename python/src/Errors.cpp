// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Errors.hpp"

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik::python {

namespace {

struct Message {
  ZelvikMsg::Severity severity;
  std::string source;  // file and line
  std::string text;
};

std::mutex queueMutex;
std::vector<Message> queue;
std::atomic<bool> isQueueFilled{false};
thread_local std::string fatalText;

int runPending(void*) {
  try {
    flushMessages();
  } catch (nb::python_error& error) {
    error.restore();
    return -1;
  }
  return 0;
}

void take(ZelvikMsg::Severity severity, const char* file, int line, const std::string& text) {
  if (severity == ZelvikMsg::FATAL) {
    fatalText = text;  // `raiseFatal` follows on this thread
    return;
  }
  bool wasEmpty = false;
  {
    const std::lock_guard<std::mutex> lock(queueMutex);
    wasEmpty = queue.empty();
    queue.push_back({severity, std::string(file) + ":" + std::to_string(line), text});
    isQueueFilled = true;
  }
  if (wasEmpty) Py_AddPendingCall(runPending, nullptr);
}

void raiseFatal() {
  throw FatalError(std::exchange(fatalText, {}));
}

[[noreturn]] void raise(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  throw nb::python_error();
}

}  // namespace

void throwValueError(const std::string& text) {
  raise(PyExc_ValueError, text);
}

void throwTypeError(const std::string& text) {
  raise(PyExc_TypeError, text);
}

void throwIndexError(const std::string& text) {
  raise(PyExc_IndexError, text);
}

void throwKeyError(const std::string& text) {
  raise(PyExc_KeyError, text);
}

void throwRuntimeError(const std::string& text) {
  raise(PyExc_RuntimeError, text);
}

void flushMessages() {
  if (!isQueueFilled) return;
  std::vector<Message> messages;
  {
    const std::lock_guard<std::mutex> lock(queueMutex);
    messages.swap(queue);
    isQueueFilled = false;
  }
  nb::object log = nb::module_::import_("logging").attr("getLogger")("zelvik").attr("log");
  for (const Message& m : messages) {
    constexpr int kInfo = 20, kWarning = 30;  // levels of `logging`
    log(m.severity == ZelvikMsg::WARN ? kWarning : kInfo, "%s (%s)", m.text.c_str(),
        m.source.c_str());
  }
}

void installMessageSink(nb::module_& module) {
  nb::exception<FatalError> fatal(module, "FatalError", PyExc_RuntimeError);
  fatal.attr("__doc__") =
      "A fatal message of the library: what is wrong, which value, and where.\n\n"
      "The call has done nothing, or a file is read up to the fault. The world can be used on.";
  nb::register_exception_translator([](const std::exception_ptr& error, void*) {
    try {
      std::rethrow_exception(error);
    } catch (const Removed& removed) {
      PyErr_SetString(PyExc_ReferenceError, removed.what());
    }
  });
  ZelvikMsg::sink_ = take;
  ZelvikMsg::fatalCallback_ = raiseFatal;
}

}  // namespace zelvik::python
