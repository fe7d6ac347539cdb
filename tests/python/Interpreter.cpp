#include <Python.h>

// Python's interpreter, built as the module is. Debian's own cannot load a module that is built for
// a sanitiser, whose functions have to be in the program.
int main(int count, char** arguments)
{
    return ::Py_BytesMain(count, arguments);
}
