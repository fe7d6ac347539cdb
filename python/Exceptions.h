#pragma once

#include "MediaConversion/MediaFile/FileNames.h"

#include <opencv2/core.hpp>

#include <pybind11/pybind11.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

// The library's exceptions as Python's.
namespace ZeqPython {

namespace py = pybind11;

// Adds the classes of exceptions to the module.
void addExceptions(py::module_& module);

// A file's name: what the caller gave and the bytes that the system knows.
class FileName
{
public:
    // Takes text, bytes and paths; raises a TypeError for anything else.
    explicit FileName(py::object given);

    const py::object& given() const { return m_given; }
    const std::string& bytes() const { return m_bytes; }

private:
    py::object m_given;
    std::string m_bytes;
};

// Raises a DataError of an argument.
[[noreturn]] void raiseArgumentError(const std::string& text);

// Raises a DataError of a file.
[[noreturn]] void raiseDataError(const std::string& text, const FileName& file);

// Raises a FileError where the system gave a reason, or gives one for why a file that was to be
// read cannot be opened, else a DataError.
[[noreturn]] void raiseAccessError(const MediaConversion::MediaFileAccessException& error,
                                   const FileName& file);

// Runs an operation on a file while other threads of the interpreter go on. It must not touch any
// of the interpreter's objects.
template <class Operation>
auto unlocked(const FileName& file, Operation operation)
{
    try {
        const py::gil_scoped_release released;
        return operation();
    } catch (const MediaConversion::MediaFileAccessException& error) {
        raiseAccessError(error, file);
    } catch (const std::invalid_argument& error) {
        raiseArgumentError(error.what());
    } catch (const cv::Exception& error) {
        if (error.code == cv::Error::StsNoMem)
            throw std::bad_alloc();
        raiseDataError(error.err, file);
    } catch (const std::runtime_error& error) {
        raiseDataError(error.what(), file);
    }
}

}
