// The trace sinks: which lines reach the console, the trace file and the error file; the size limit
// with its one old generation; a trace file that cannot be opened.
#include "shared/kel_trace.h"
#include "shared/trace_capture.h"
#include "shared/platform/kel_p_trace.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
std::string ReadText(const std::string& aPath)
{
    return ReadFile(aPath.c_str());
}

// Sends one standard stream (1: stdout, 2: stderr) into a file while it lives. Works on the file
// descriptor, so it catches the C library's writes on both platforms.
class Capture
{
public:
    Capture(int aFd, const char* pPath) : fd_(aFd), path_(pPath)
    {
        fflush(aFd == 1 ? stdout : stderr);
        saved_ = dup(aFd);
        const int file = open(pPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(file, aFd);
        close(file);
    }
    std::string Finish()
    {
        if (saved_ >= 0)
        {
            fflush(fd_ == 1 ? stdout : stderr);
            dup2(saved_, fd_);
            close(saved_);
            saved_ = -1;
        }
        return ReadText(path_);
    }
    ~Capture() { Finish(); }

private:
    int fd_;
    int saved_;
    std::string path_;
};

class TraceSink : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(Kel_Trace_Initialize(4), Kel_Good); }
    // Puts the sink back as the process started: no files, console off, default size, tracing off.
    void TearDown() override
    {
        EXPECT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
        EXPECT_EQ(Kel_P_Trace_File_Errors_Disable(), Kel_Good);
        EXPECT_EQ(Kel_P_Trace_Console_Disable(), Kel_Good);
        EXPECT_EQ(Kel_P_Trace_File_Set_Size(102400), Kel_Good);
        EXPECT_EQ(Kel_Trace_Finalize(), Kel_Good);
    }
};

// Writes equal lines until the trace file has been rotated once, then three more: the line that
// brought the file to the threshold went into the old generation with it, and the two generations
// hold every line in order.
void CheckRotation(const std::string& aPath, const std::string& aOldPath, long aThreshold, size_t aWidth)
{
    remove(aPath.c_str());
    std::ofstream(aOldPath) << "stale generation\n";
    ASSERT_EQ(Kel_P_Trace_File_Enable(aPath.c_str()), Kel_Good);
    std::string all;
    int rotatedAt = 0;
    for (int i = 1; rotatedAt == 0 || i <= rotatedAt + 3; ++i)
    {
        ASSERT_LT(i, 100000) << "no rotation";
        std::string line = "L" + std::to_string(100000 + i);
        line.resize(aWidth, '-');
        Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "s", i, "%s\n", line.c_str());
        all += line + "\n\n";
        if (rotatedAt == 0 && ReadText(aOldPath).rfind("stale", 0) != 0)
            rotatedAt = i;
    }
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    const std::string oldText = ReadText(aOldPath);
    EXPECT_EQ(oldText + ReadText(aPath), all);
    EXPECT_EQ(ReadText(aPath), std::string(all, all.size() - 3 * (aWidth + 2)));
    FILE* file = fopen(aOldPath.c_str(), "rb"); // the size in bytes, CRLF ends included
    ASSERT_NE(file, nullptr);
    fseek(file, 0, SEEK_END);
    const long oldSize = ftell(file);
    fclose(file);
    EXPECT_EQ(oldText.size(), static_cast<size_t>(rotatedAt) * (aWidth + 2));
    EXPECT_GE(oldSize, aThreshold);
    EXPECT_LT(oldSize - oldSize / rotatedAt, aThreshold);
    remove(aPath.c_str());
    remove(aOldPath.c_str());
}
} // namespace

TEST_F(TraceSink, RotationAtHalfTheSizeWithOneOldGeneration)
{
    ASSERT_EQ(Kel_P_Trace_File_Set_Size(50), Kel_Good); // below 100: raised to 100
    CheckRotation("rot.txt", "rot_old.txt", 50, 7);
    ASSERT_EQ(Kel_P_Trace_File_Set_Size(1000), Kel_Good);
    CheckRotation("rotlog", "rotlog_old", 500, 40);
    ASSERT_EQ(Kel_P_Trace_File_Set_Size(102400), Kel_Good);
    CheckRotation("big.trace.txt", "big.trace_old.txt", 51200, 200);
}

TEST_F(TraceSink, ErrorFileRotatesOnItsOwn)
{
    remove("errors.txt");
    remove("errors_old.txt");
    remove("all.txt");
    ASSERT_EQ(Kel_P_Trace_File_Set_Size(50), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Enable("all.txt"), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Errors_Enable("errors.txt"), Kel_Good);
    const Capture out(1, "console.txt");
    for (int i = 0; i < 3; ++i)
        Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "f", i, "error line %d\n", i);
    ASSERT_EQ(Kel_P_Trace_File_Errors_Disable(), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    // Each line is 30 bytes (32 with CRLF ends): the second brings each file past 50 and rotates it.
    const std::string first = "error line 0\n, File=f, Line=0\nerror line 1\n, File=f, Line=1\n";
    const std::string last = "error line 2\n, File=f, Line=2\n";
    EXPECT_EQ(ReadText("errors_old.txt"), first);
    EXPECT_EQ(ReadText("errors.txt"), last);
    EXPECT_EQ(ReadText("all_old.txt"), first);
    EXPECT_EQ(ReadText("all.txt"), last);
    for (const char* path : {"errors.txt", "errors_old.txt", "all.txt", "all_old.txt"})
        remove(path);
}

TEST_F(TraceSink, LevelsReachTheirSinks)
{
    remove("levels.txt");
    remove("levels_errors.txt");
    ASSERT_EQ(Kel_P_Trace_File_Enable("levels.txt"), Kel_Good);
    ASSERT_EQ(Kel_P_Trace_File_Errors_Enable("levels_errors.txt"), Kel_Good);
    Capture out(1, "console.txt");
    Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "f", 1, "one\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 2, nullptr, 0, "f", 2, "two\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 3, nullptr, 0, "f", 3, "three\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 4, "four\n");
    ASSERT_EQ(Kel_P_Trace_Console_Enable(), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 3, nullptr, 0, "f", 5, "three on console\n");
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 6, "four on console\n");
    ASSERT_EQ(Kel_P_Trace_Console_Disable(), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 4, nullptr, 0, "f", 7, "four off again\n");
    // An empty path closes the trace file and opens nothing.
    ASSERT_EQ(Kel_P_Trace_File_Enable(""), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_Serial, 1, nullptr, 0, "f", 8, "after close\n");
    ASSERT_EQ(Kel_P_Trace_File_Errors_Disable(), Kel_Good);
    EXPECT_EQ(out.Finish(),
              "one\n, File=f, Line=1\ntwo\n, File=f, Line=2\nthree on console\n\nfour on console\n\n"
              "after close\n, File=f, Line=8\n");
    EXPECT_EQ(ReadText("levels.txt"), "one\n, File=f, Line=1\ntwo\n, File=f, Line=2\nthree\n\nfour\n\n"
                                      "three on console\n\nfour on console\n\nfour off again\n\n");
    EXPECT_EQ(ReadText("levels_errors.txt"), "one\n, File=f, Line=1\ntwo\n, File=f, Line=2\n"
                                             "after close\n, File=f, Line=8\n");
    remove("levels.txt");
    remove("levels_errors.txt");
}

TEST_F(TraceSink, UnopenableFileIsReportedAndErrorsStillReachTheConsole)
{
    remove("missing_dir");
    Capture err(2, "stderr.txt");
    Capture out(1, "console.txt");
    EXPECT_EQ(Kel_P_Trace_File_Enable("missing_dir/trace.txt"), Kel_Good);
    EXPECT_EQ(Kel_P_Trace_File_Errors_Enable("missing_dir/traceerrors.txt"), Kel_Good);
    Kel_P_Trace_Imp(Kel_Module_ZentorProtocolClient, 1, nullptr, 0, "Q310", 12,
                    "<-- ReturnError: Arg outErr is NULL!\n");
    Kel_P_Trace_Imp(Kel_Module_ZentorProtocolClient, 4, nullptr, 0, "Q310", 13, "flow\n");
    EXPECT_EQ(out.Finish(), "<-- ReturnError: Arg outErr is NULL!\n, File=Q310, Line=12\n");
    const std::string errors = err.Finish();
    EXPECT_EQ(errors.rfind("enable_log_file, fopen - Fail: ", 0), 0u) << errors;
    EXPECT_NE(errors.find("\nenable_log_file, fopen - Fail: "), std::string::npos) << errors;
}

TEST_F(TraceSink, LinesFromSeveralThreadsStayWhole)
{
    remove("threads.txt");
    ASSERT_EQ(Kel_P_Trace_File_Set_Size(4000000), Kel_Good); // no rotation during the test
    ASSERT_EQ(Kel_P_Trace_File_Enable("threads.txt"), Kel_Good);
    constexpr int kThreads = 3;
    constexpr int kLines = 200;
    std::vector<std::thread> writers;
    for (int t = 0; t < kThreads; ++t)
        writers.emplace_back(
            [t]
            {
                uint8_t data[40];
                for (size_t i = 0; i < sizeof(data); ++i)
                    data[i] = static_cast<uint8_t>(t);
                for (int i = 0; i < kLines; ++i)
                    Kel_P_Trace_Imp(Kel_Module_SerialChannel, 4, data, sizeof(data), "f", i,
                                    "Writer %d line %03d, Data=", t, i);
            });
    for (std::thread& writer : writers)
        writer.join();
    ASSERT_EQ(Kel_P_Trace_File_Disable(), Kel_Good);
    // Every line whole, each writer's lines in its own order.
    std::istringstream text(ReadText("threads.txt"));
    std::string line;
    int next[kThreads] = {};
    int count = 0;
    while (std::getline(text, line))
    {
        if (line.empty())
            continue;
        ++count;
        int writer = -1;
        int number = -1;
        ASSERT_EQ(sscanf(line.c_str(), "Writer %d line %d", &writer, &number), 2) << line;
        ASSERT_TRUE(writer >= 0 && writer < kThreads) << line;
        EXPECT_EQ(number, next[writer]) << line;
        next[writer] = number + 1;
        char expected[256];
        snprintf(expected, sizeof(expected), "Writer %d line %03d, Data=[40] ", writer, number);
        std::string whole = expected;
        for (int i = 0; i < 40; ++i)
            whole += "0" + std::to_string(writer) + " ";
        EXPECT_EQ(line, whole);
    }
    EXPECT_EQ(count, kThreads * kLines);
    remove("threads.txt");
}
