// The failure types of the platform and of the console driver.
//
// Two families, both rooted in std::exception:
//  - MarletException and its subclasses: the test library's typed failures.
//    MarletException is the browser client's error root (webdriver/error_root.h), so the
//    client's errors are MarletExceptions too and a failed lookup is caught as one.
//  - PythonError kinds (KeyError, IndexError, ValueError, ZeroDivisionError, TypeError):
//    the failures Python code would raise on its own; the binding maps each to the Python
//    builtin of the same name. They are deliberately not MarletExceptions: the operations
//    catch MarletException around navigation and must not swallow these.
// Which Python class each MarletException becomes is the binding's table (python/errors.cpp).
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "webdriver/error_root.h"

namespace marlet {

using MarletException = webdriver::Error;

// The console did not yield the elements an operation needs.
class WebElementException : public MarletException {
 public:
  using MarletException::MarletException;
};
// The console shows something other than expected, or a setting did not take effect.
class WebDisplayException : public MarletException {
 public:
  using MarletException::MarletException;
};
// A login failed.
class WebLoginException : public MarletException {
 public:
  using MarletException::MarletException;
};

// Failures that Python itself would raise; the binding maps them to the builtin of the
// same name with the message as its argument.
class PythonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  virtual const char* python_builtin() const noexcept = 0;
};

#define MARLET_PYTHON_ERROR(Name)                                                   \
  class Name : public PythonError {                                                 \
   public:                                                                          \
    using PythonError::PythonError;                                                 \
    const char* python_builtin() const noexcept override { return #Name; }         \
  };

// what() is the missing key itself, as Python's KeyError carries it.
MARLET_PYTHON_ERROR(KeyError)
MARLET_PYTHON_ERROR(IndexError)
MARLET_PYTHON_ERROR(ValueError)
MARLET_PYTHON_ERROR(ZeroDivisionError)
MARLET_PYTHON_ERROR(TypeError)
MARLET_PYTHON_ERROR(AttributeError)

#undef MARLET_PYTHON_ERROR

}  // namespace marlet
