#include "base/LogLine.h"

#include <iostream>
#include <mutex>

void writeLog(const std::string& text)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    std::clog << text << std::flush;
}
