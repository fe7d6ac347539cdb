#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "imaging/StandardStreams.h"
#include "tools/Commands.h"
#include "tools/Report.h"

#include <exception>

int main(int argumentCount, char** arguments)
try {
    Programs::openStandardStreams();
    Velmora::installMemoryPool();
    const int status = Zeq::parseCommandLine(Zeq::commands(), argumentCount, arguments)();
    return Zeq::flushOutput() ? status : Zeq::ExitStatus::failure;
} catch (const Zeq::UsageError& error) {
    Zeq::reportError(error.what());
    return Zeq::ExitStatus::usage;
} catch (const std::exception& error) {
    Zeq::reportError(Zeq::messageOf(error));
    return Zeq::ExitStatus::failure;
}
