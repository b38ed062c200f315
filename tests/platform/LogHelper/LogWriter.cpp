// Logs one line of each level, for tests of PELACON_LOG. With an argument it also sets a sink, from
// the milestones on, that prints its lines to stdout; with two arguments it opens the file that the
// second one names before it logs.
#include <LogHelper/KvLogger.h>

#include <cstdio>

int main(int argc, char** argv)
{
    std::FILE* const opened = argc > 2 ? std::fopen(argv[2], "w") : nullptr;
    KvLogger& logger = KvLogger::GetInstance();
    if (argc > 1) {
        logger.SetSink(
            [](LOG_MESSAGE_LEVEL level, std::wstring_view line) {
                std::printf("sink %d %zu\n", static_cast<int>(level), line.size());
            },
            kLogMilestone);
    }
    for (const auto level : {kLogTrace, kLogMilestone, kLogIncomplete, kLogFailure}) {
        std::wstringstream line;
        line << L"line " << static_cast<int>(level) << L" \u20AC";
        logger.Log(level, line);
    }
    for (int level = kLogTrace; level <= kLogFailure; ++level) {
        std::printf("wanted %d %d\n", level,
                    logger.IsWanted(static_cast<LOG_MESSAGE_LEVEL>(level)) ? 1 : 0);
    }
    if (opened != nullptr) {
        std::fclose(opened);
    }
    return 0;
}
