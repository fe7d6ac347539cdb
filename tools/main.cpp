#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "imaging/StandardStreams.h"
#include "tools/CommandLine.h"
#include "tools/Commands.h"
#include "tools/Report.h"

#include <exception>
#include <memory>

int main(int argumentCount, char** arguments)
try {
    Programs::openStandardStreams();
    Velmora::ImageFrame::setMemoryPool(
        std::make_shared<Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource>>());
    const int status = Zeq::parseCommandLine(Zeq::commands(), argumentCount, arguments)();
    return Zeq::flushOutput() ? status : Zeq::ExitStatus::failure;
} catch (const Zeq::UsageError& error) {
    Zeq::reportError(error.what());
    return Zeq::ExitStatus::usage;
} catch (const std::exception& error) {
    Zeq::reportError(Zeq::messageOf(error));
    return Zeq::ExitStatus::failure;
}
