// The failure types of the platform and of the console driver.
//
// Two families, both rooted in std::exception:
//  - MarletException and its subclasses: the test library's typed failures. The browser
//    client's errors derive from it as well, so a failed lookup is a MarletException.
//  - PythonError kinds (KeyError, IndexError, ValueError, ZeroDivisionError, TypeError):
//    the failures Python code would raise on its own; the binding maps each to the Python
//    builtin of the same name. They are deliberately not MarletExceptions: the operations
//    catch MarletException around navigation and must not swallow these.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace marlet {

class MarletException : public std::runtime_error {
 public:
  explicit MarletException(const std::string& message, std::exception_ptr cause = nullptr)
      : std::runtime_error(message), cause_(std::move(cause)) {}
  // The failure that was caught when this one was raised (Python's __cause__), or null.
  const std::exception_ptr& cause() const noexcept { return cause_; }
  // The Python class this failure becomes, as "module.path:ClassName".
  virtual const char* python_class() const noexcept {
    return "marlet.exception.marlet_exception:MarletException";
  }

 private:
  std::exception_ptr cause_;
};

#define MARLET_EXCEPTION_SUBCLASS(Name, Base, PyPath)                                  \
  class Name : public Base {                                                           \
   public:                                                                             \
    using Base::Base;                                                                  \
    const char* python_class() const noexcept override { return PyPath ":" #Name; }   \
  };

// The console did not yield the elements an operation needs.
MARLET_EXCEPTION_SUBCLASS(WebElementException, MarletException, "marlet.exception.webelementexception")
// The console shows something other than expected, or a setting did not take effect.
MARLET_EXCEPTION_SUBCLASS(WebDisplayException, MarletException, "marlet.exception.webdisplayexception")
// A login failed.
MARLET_EXCEPTION_SUBCLASS(WebLoginException, MarletException, "marlet.exception.webloginexception")

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
