#pragma once

#include <string>

namespace DD::Image {

// A node of the host's picture graph.
class Op
{
public:
    Op() = default;
    Op(const Op&) = delete;
    Op& operator=(const Op&) = delete;
    virtual ~Op();

    // Reports a failure to the user. The arguments are those of printf.
    void critical(const char* format, ...) __attribute__((format(printf, 2, 3)));

protected:
    // Called with each finished message, on the thread that reports it. Standard error unless the
    // host says otherwise.
    virtual void onCritical(const std::string& message);
};

// The node that reads files. The host derives from it and names the file.
class Read : public Op
{
public:
    ~Read() override;

    // Null while no file is chosen.
    virtual const char* filename() const = 0;
};

}
