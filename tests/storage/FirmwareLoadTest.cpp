// Loading the images of the instrument's programs from files.

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <filesystem>

#include "support/EveryCall.h"
#include "support/Firmware.h"

namespace {

const std::vector<int> kUntouched = {-1, -1, -1, -1};

Loaded Failure(int code) { return {code, kUntouched}; }

// While it lives no file can be opened, but files can be looked at.
class CNoDescriptors {
public:
    CNoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &old_);
        const rlimit none = {0, old_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~CNoDescriptors() { setrlimit(RLIMIT_NOFILE, &old_); }
    CNoDescriptors(const CNoDescriptors&) = delete;
    CNoDescriptors& operator=(const CNoDescriptors&) = delete;

private:
    rlimit old_ = {};
};

// Loads and frees: a sanitizer that then meets the same types again needs no descriptor to check them.
void LoadTwice(LoadFunction load, const std::string& path, int size)
{
    for (int i = 0; i < 2; ++i) EXPECT_EQ(LoadWith(load, path).result, size);
}

// A directory can be opened, has a size, and cannot be read as a file.
std::string MakeBigDirectory(const TempDir& folder, std::size_t leastBytes)
{
    const std::string path = folder.File("directory");
    std::filesystem::create_directory(path);
    const std::string name(60, 'n');
    struct stat info = {};
    for (int i = 0; i < 20000; ++i) {
        std::ofstream(path + "/" + name + std::to_string(i)).flush();
        if (i % 500 == 0 && stat(path.c_str(), &info) == 0 &&
            info.st_size >= static_cast<off_t>(leastBytes)) {
            return path;
        }
    }
    return "";
}

class FirmwareLoad : public testing::Test {
protected:
    std::string File(const Bytes& image) { return WriteImageFile(folder_, "image.bin", image); }

    TempDir folder_;
};

class McuLoad : public FirmwareLoad {};

}  // namespace

TEST_F(FirmwareLoad, TellsSizeAndVersion)
{
    EXPECT_EQ(LoadWith(LoadFirmwareFile, File(FpgaImage(9))), (Loaded{122880, {1, 2, 3, 9}}));
}

TEST_F(FirmwareLoad, VersionBytesAreNumbersFrom0To255)
{
    Bytes image = FpgaImage();
    std::fill_n(image.begin() + kVersionOffset, 4, std::uint8_t{0xFF});
    image[kVersionOffset + 1] = 0x80;
    EXPECT_EQ(LoadWith(LoadFirmwareFile, File(image)), (Loaded{122880, {255, 128, 255, 255}}));
}

TEST_F(FirmwareLoad, AFileOf122879BytesIsRefused)
{
    EXPECT_EQ(LoadWith(LoadFirmwareFile, File(FpgaImage(4, 122879))), Failure(-6));
}

TEST_F(FirmwareLoad, ALongerFileIsCut)
{
    EXPECT_EQ(LoadWith(LoadFirmwareFile, File(FpgaImage(4, 200000))),
              (Loaded{122880, {1, 2, 3, 4}}));
}

TEST_F(FirmwareLoad, EveryLetterOfTheTagCounts)
{
    for (std::size_t letter = 0; letter < 4; ++letter) {
        Bytes image = FpgaImage();
        image[kTagOffset + letter] ^= 0x20;
        EXPECT_EQ(LoadWith(LoadFirmwareFile, File(image)), Failure(-6)) << letter;
    }
}

TEST_F(FirmwareLoad, AMissingFileHasNoSize)
{
    EXPECT_EQ(LoadWith(LoadFirmwareFile, folder_.File("missing")), Failure(-2));
    EXPECT_EQ(LoadWith(LoadFirmwareFile, ""), Failure(-2));
}

TEST_F(FirmwareLoad, AFileThatCannotBeOpenedIsTold)
{
    const std::string path = File(FpgaImage());
    LoadTwice(LoadFirmwareFile, path, 122880);
    const CNoDescriptors none;
    EXPECT_EQ(LoadWith(LoadFirmwareFile, path), Failure(-1));
}

TEST_F(FirmwareLoad, AShortReadIsTold)
{
    const std::string path = MakeBigDirectory(folder_, 122880);
    if (path.empty()) GTEST_SKIP() << "directories have no size here";
    EXPECT_EQ(LoadWith(LoadFirmwareFile, path), Failure(-5));
}

// The size is looked at before the file is opened, the tag after it was read.
TEST_F(FirmwareLoad, AShortFileIsRefusedWithoutOpeningIt)
{
    const std::string path = File(FpgaImage(4, 122879));
    const CNoDescriptors none;
    EXPECT_EQ(LoadWith(LoadFirmwareFile, path), Failure(-6));
}

TEST_F(FirmwareLoad, AMissingPointerIsAFailure)
{
    const std::string path = File(FpgaImage());
    int v[4] = {-1, -1, -1, -1};
    EXPECT_EQ(LoadFirmwareFile(nullptr, &v[0], &v[1], &v[2], &v[3]), -2);
    EXPECT_EQ(LoadFirmwareFile(path.c_str(), nullptr, &v[1], &v[2], &v[3]), -2);
    EXPECT_EQ(LoadFirmwareFile(path.c_str(), &v[0], nullptr, &v[2], &v[3]), -2);
    EXPECT_EQ(LoadFirmwareFile(path.c_str(), &v[0], &v[1], nullptr, &v[3]), -2);
    EXPECT_EQ(LoadFirmwareFile(path.c_str(), &v[0], &v[1], &v[2], nullptr), -2);
    EXPECT_EQ(std::vector<int>(v, v + 4), kUntouched);
}

TEST_F(McuLoad, TellsSizeAndVersion)
{
    EXPECT_EQ(LoadWith(LoadMcuFile, File(McuImage(9, 130001))), (Loaded{130001, {1, 2, 3, 9}}));
}

TEST_F(McuLoad, OneLetterOfTheTagIsEnough)
{
    const Bytes tag = {0x32, 0x54, 0x46, 0x32};
    for (std::size_t letter = 0; letter < 4; ++letter) {
        Bytes others(4, 0x41);
        others[letter] = tag[letter];
        EXPECT_EQ(LoadWith(LoadMcuFile, File(MakeImage(kMcuBytes, others, 4))).result,
                  static_cast<int>(kMcuBytes))
            << letter;
    }
}

TEST_F(McuLoad, FourWrongLettersAreRefused)
{
    EXPECT_EQ(LoadWith(LoadMcuFile, File(MakeImage(kMcuBytes, Bytes(4, 0x41), 4))), Failure(-6));
    // Each is one of the tag, in another place.
    EXPECT_EQ(LoadWith(LoadMcuFile, File(MakeImage(kMcuBytes, {'T', '2', '2', 'F'}, 4))),
              Failure(-6));
}

TEST_F(McuLoad, WhatAShortFileDoesNotHaveCountsAsZero)
{
    Bytes image = McuImage(4);
    image.resize(kTagOffset + 1);
    EXPECT_EQ(LoadWith(LoadMcuFile, File(image)), (Loaded{118773, {0, 0, 0, 0}}));
    image = McuImage(4);
    image.resize(kVersionOffset + 2);
    EXPECT_EQ(LoadWith(LoadMcuFile, File(image)), (Loaded{118778, {1, 2, 0, 0}}));
}

TEST_F(McuLoad, AFileThatEndsBeforeItsTagIsRefused)
{
    Bytes image = McuImage(4);
    image.resize(kTagOffset);
    EXPECT_EQ(LoadWith(LoadMcuFile, File(image)), Failure(-6));
    EXPECT_EQ(LoadWith(LoadMcuFile, File({})), Failure(-6));
}

TEST_F(McuLoad, AMissingFileHasNoSize)
{
    EXPECT_EQ(LoadWith(LoadMcuFile, folder_.File("missing")), Failure(-2));
}

TEST_F(McuLoad, AFileThatCannotBeOpenedIsTold)
{
    const std::string path = File(McuImage());
    LoadTwice(LoadMcuFile, path, static_cast<int>(McuImage().size()));
    const CNoDescriptors none;
    EXPECT_EQ(LoadWith(LoadMcuFile, path), Failure(-1));
}

TEST_F(McuLoad, AShortReadIsTold)
{
    const std::string path = MakeBigDirectory(folder_, 1);
    if (path.empty()) GTEST_SKIP() << "directories have no size here";
    EXPECT_EQ(LoadWith(LoadMcuFile, path), Failure(-5));
}

TEST_F(McuLoad, ASizeThatIsNoResultIsNotTaken)
{
    const std::string path = File({});
    std::filesystem::resize_file(path, std::uintmax_t{1} << 31);  // takes no room on the disk
    EXPECT_EQ(LoadWith(LoadMcuFile, path), Failure(-4));
}

TEST_F(McuLoad, AMissingPointerIsAFailure)
{
    const std::string path = File(McuImage());
    int v[4] = {-1, -1, -1, -1};
    EXPECT_EQ(LoadMcuFile(nullptr, &v[0], &v[1], &v[2], &v[3]), -2);
    EXPECT_EQ(LoadMcuFile(path.c_str(), nullptr, &v[1], &v[2], &v[3]), -2);
    EXPECT_EQ(LoadMcuFile(path.c_str(), &v[0], nullptr, &v[2], &v[3]), -2);
    EXPECT_EQ(LoadMcuFile(path.c_str(), &v[0], &v[1], nullptr, &v[3]), -2);
    EXPECT_EQ(LoadMcuFile(path.c_str(), &v[0], &v[1], &v[2], nullptr), -2);
    EXPECT_EQ(std::vector<int>(v, v + 4), kUntouched);
}

TEST(ImageLoaders, TakeAnyPath)
{
    for (const char* path :
         {static_cast<const char*>(nullptr), "", "/", "/dev/null", "/proc/self"}) {
        CallAll(ImageLoaders(path));
    }
    EXPECT_EQ(BurnFirmware(Progress::On), -3);  // the calls came back
}

TEST(BurnWithoutAnInstrument, IsToldAndReturnsMinusThree)
{
    EXPECT_EQ(BurnFirmware(Progress::On), -3);
    EXPECT_EQ(BurnMcu(Progress::On), -3);
    EXPECT_EQ(Progress::Calls(), ToldList({{6, -3}, {6, -3}}));
}

TEST(BurnWithoutAnInstrument, IsRefusedWithAnImageToo)
{
    LoadFpga(FpgaImage());
    LoadMcu(McuImage());
    EXPECT_EQ(BurnFirmware(Progress::On), -3);
    EXPECT_EQ(BurnMcu(Progress::On), -3);
    EXPECT_EQ(Progress::Calls(), ToldList({{6, -3}, {6, -3}}));
}

TEST(BurnWithoutAnInstrument, IsRefusedWithoutACallbackToo)
{
    EXPECT_EQ(BurnFirmware(nullptr), -3);
    EXPECT_EQ(BurnMcu(nullptr), -3);
}
