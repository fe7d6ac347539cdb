#include "python/Exceptions.h"

#include "MediaConversion/MediaFile/FileStreams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace ZeqPython {

namespace {

// The classes live as long as the interpreter.
struct Classes
{
    py::handle data;
    py::handle file;
    py::handle missingFile;
    py::handle filePermission;
};

Classes& classes()
{
    static Classes classes;
    return classes;
}

py::object newClass(py::module_& module, const std::string& name, const char* description,
                    const py::tuple& bases)
{
    const auto qualified = "zeq." + name;
    auto added = py::reinterpret_steal<py::object>(
        ::PyErr_NewExceptionWithDoc(qualified.c_str(), description, bases.ptr(), nullptr));
    if (!added)
        throw py::error_already_set();
    module.add_object(name.c_str(), added);
    return added;
}

[[noreturn]] void raise(const py::object& exception)
{
    ::PyErr_SetObject(py::type::of(exception).ptr(), exception.ptr());
    throw py::error_already_set();
}

// Why a file cannot be opened for reading; 0 when it can.
int openingError(const char* fileName)
{
    struct stat status;
    if (::stat(fileName, &status) != 0)
        return errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    if (!S_ISREG(status.st_mode))
        return EINVAL;
    const int descriptor = MediaConversion::openRegularFile(fileName, O_RDONLY);
    if (descriptor < 0)
        return errno;
    ::close(descriptor);
    return 0;
}

py::handle classOf(int error)
{
    switch (error) {
        case ENOENT:
            return classes().missingFile;
        case EACCES:
        case EPERM:
            return classes().filePermission;
        default:
            return classes().file;
    }
}

}

void addExceptions(py::module_& module)
{
    const auto any = newClass(module, "Error", "Any failure of this module.",
                              py::make_tuple(py::handle(::PyExc_Exception)));
    const auto data = newClass(
        module, "DataError",
        "What a file, an array or an argument holds cannot be read, converted or written. The\n"
        "attribute filename is None where no file is to blame.",
        py::make_tuple(any, py::handle(::PyExc_ValueError)));
    data.attr("filename") = py::none();
    const auto file = newClass(
        module, "FileError",
        "A file cannot be opened or written. strerror is the text, errno the system's number.",
        py::make_tuple(any, py::handle(::PyExc_OSError)));
    const auto missing = newClass(module, "MissingFileError", "A file or its folder is not there.",
                                  py::make_tuple(file, py::handle(::PyExc_FileNotFoundError)));
    const auto permission =
        newClass(module, "FilePermissionError", "A file must not be read or written.",
                 py::make_tuple(file, py::handle(::PyExc_PermissionError)));
    classes() = {data, file, missing, permission};
}

FileName::FileName(py::object given) : m_given(std::move(given))
{
    PyObject* encoded = nullptr;
    if (!::PyUnicode_FSConverter(m_given.ptr(), &encoded)) {
        const py::error_already_set error;
        if (!error.matches(::PyExc_ValueError))
            throw error;
        raiseArgumentError(py::str(error.value()));
    }
    m_bytes = py::reinterpret_steal<py::bytes>(encoded);
}

void raiseArgumentError(const std::string& text)
{
    raise(classes().data(text));
}

void raiseDataError(const std::string& text, const FileName& file)
{
    // As the texts of Python's own exceptions, which are printable whatever the name holds.
    const auto name = py::repr(file.given()).cast<std::string>();
    const auto exception = classes().data(text + ": " + name);
    exception.attr("filename") = file.given();
    raise(exception);
}

void raiseAccessError(const MediaConversion::MediaFileAccessException& error, const FileName& file)
{
    const int reason = error.reason() ? error.reason().value() : openingError(file.bytes().c_str());
    if (reason == 0)
        raiseDataError(error.message(), file);
    raise(classOf(reason)(reason, error.message(), file.given()));
}

}
