// Files for a remote browser: the ZIP writer (read back by Python's zipfile), base64,
// and what goes on the wire when a local file is typed into a file input.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "webdriver/detail/file_upload.h"
#include "webdriver/detail/zip.h"
#include "webdriver/errors.h"
#include "webdriver/session.h"

using namespace webdriver;
namespace fs = std::filesystem;

namespace {

// A folder of the test's own, removed afterwards.
struct Scratch {
  fs::path dir;
  Scratch() {
    dir = fs::temp_directory_path() /
          ("vorna-upload-" + std::to_string(::getpid()) + "-" +
           ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  ~Scratch() {
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
  std::string file(const std::string& name, const std::string& content) const {
    std::ofstream(dir / name, std::ios::binary) << content;
    return (dir / name).string();
  }
};

std::string run(const std::string& command) {
  std::string out;
  FILE* p = ::popen(command.c_str(), "r");
  if (!p) return "popen failed";
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  int rc = ::pclose(p);
  return rc == 0 ? out : "exit " + std::to_string(rc) + ": " + out;
}

std::string binary_content() {
  std::string s;
  for (int i = 0; i < 70000; ++i) s += static_cast<char>((i * 131 + i / 7) & 0xFF);
  return s;
}

struct Call {
  std::string command;
  Json params;
};

// Records the commands; a file input "e1" (or another tag) answers lookups, and the
// upload answers through `upload`.
class GridTransport final : public Transport {
 public:
  GridTransport(std::vector<Call>* calls, std::string tag, std::function<Json(const Json&)> upload)
      : calls_(calls), tag_(std::move(tag)), upload_(std::move(upload)) {}
  Json execute(std::string_view command, const Json& params) override {
    calls_->push_back({std::string(command), params});
    if (command == "WebDriver:NewSession") return Json{{"sessionId", "s"}, {"capabilities", Json::object()}};
    if (command == "WebDriver:FindElement") return Json{{kElementKey, "e1"}};
    if (command == "WebDriver:GetElementTagName") return tag_;
    if (command == "WebDriver:GetElementProperty") return "file";
    if (command == "Grid:UploadFile") return upload_(params);
    return nullptr;
  }

 private:
  std::vector<Call>* calls_;
  std::string tag_;
  std::function<Json(const Json&)> upload_;
};

struct Remote {
  std::vector<Call> calls;
  std::shared_ptr<Session> session;
  Remote(bool uploads, std::string tag = "input",
         std::function<Json(const Json&)> upload = [](const Json&) -> Json { return "/tmp/node/upload1/fw.bin"; }) {
    session = Session::create(std::make_unique<GridTransport>(&calls, std::move(tag), std::move(upload)), Json::object());
    session->set_upload_files(uploads);
  }
  // The commands after finding the element.
  std::vector<std::string> typed(const std::string& text) {
    Element e = session->find_element_by_id("file_upload");
    calls.clear();
    e.send_keys(text);
    std::vector<std::string> out;
    for (const auto& c : calls) out.push_back(c.command);
    return out;
  }
  Json sent_keys() const { return calls.back().params["text"]; }
};

}  // namespace

TEST(ZipTests, ChecksumsAndBase64MatchTheirStandards) {
  EXPECT_EQ(crc32("123456789"), 0xCBF43926u);
  const std::pair<const char*, const char*> rfc4648[] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foobar", "Zm9vYmFy"}};
  for (const auto& [in, out] : rfc4648) EXPECT_EQ(base64_encode(in), out) << in;
  EXPECT_EQ(base64_encode(std::string("\xff\xfe\x00\x80", 4)), "//4AgA==");
  for (const auto& [in, out] : rfc4648) EXPECT_EQ(base64_decode(out), in) << out;
  EXPECT_EQ(base64_decode("//4A\ngA=="), std::string("\xff\xfe\x00\x80", 4)) << "line breaks are skipped";
  EXPECT_THROW(base64_decode("Zm9v!"), ProtocolException);
}

TEST(ZipTests, PythonsZipfileReadsTheArchiveBack) {
  Scratch s;
  const std::string content = binary_content();
  const std::string name = "vorna_bmc_3.13.01 \xc3\xa9.bin";  // a blank and a non-ASCII letter
  std::string archive = stored_zip(name, content);
  ASSERT_EQ(archive.size(), content.size() + 2 * name.size() + 98) << "headers of a stored member, no more";
  s.file("a.zip", archive);
  s.file("expected.bin", content);
  std::string check =
      "import hashlib, sys, zipfile\n"
      "z = zipfile.ZipFile(sys.argv[1])\n"
      "assert z.testzip() is None\n"
      "(i,) = z.infolist()\n"
      "data = z.read(i)\n"
      "assert data == open(sys.argv[2], 'rb').read()\n"
      "print(i.filename, i.compress_type, i.file_size, i.compress_size, i.date_time, oct(i.external_attr >> 16))\n";
  s.file("check.py", check);
  EXPECT_EQ(run("PYTHONIOENCODING=utf-8 /usr/bin/python3 " + (s.dir / "check.py").string() + " " + (s.dir / "a.zip").string() + " " +
                (s.dir / "expected.bin").string() + " 2>&1"),
            name + " 0 70000 70000 (1980, 1, 1, 0, 0, 0) 0o100644\n");
  EXPECT_THROW(stored_zip("", "x"), InvalidArgumentException);

  // Read back: our own stored archive, and a deflated one written as the Grid writes
  // its downloads (sizes in a descriptor after the data), with a second member after.
  EXPECT_EQ(first_zip_member(archive), content);
  EXPECT_EQ(first_zip_member(stored_zip("empty", "")), "");
  s.file("make.py",
         "import sys, zipfile\n"
         "class Stream:  # no tell or seek: the sizes go after the data\n"
         "    def __init__(self, f): self.write, self.flush = f.write, f.flush\n"
         "with open(sys.argv[1], 'wb') as raw, zipfile.ZipFile(Stream(raw), 'w', zipfile.ZIP_DEFLATED) as z:\n"
         "    with z.open('dump_info.tar.gz', 'w') as m: m.write(open(sys.argv[2], 'rb').read())\n"
         "    z.writestr('second', 'not this one')\n");
  ASSERT_EQ(run("/usr/bin/python3 " + (s.dir / "make.py").string() + " " + (s.dir / "d.zip").string() + " " +
                (s.dir / "expected.bin").string() + " 2>&1"),
            "");
  std::ifstream in(s.dir / "d.zip", std::ios::binary);
  std::string deflated((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  ASSERT_LT(deflated.size(), content.size()) << "really deflated";
  EXPECT_EQ(first_zip_member(deflated), content);
  std::string damaged = deflated;
  damaged[100] ^= 0x55;  // inside the deflated data
  EXPECT_THROW(first_zip_member(damaged), ProtocolException);
  EXPECT_THROW(first_zip_member("not a zip at all, not even close"), ProtocolException);
}

TEST(FileUploadTests, OnlyLinesThatAreAllLocalFilesCount) {
  Scratch s;
  std::string a = s.file("a.bin", "A"), b = s.file("b.bin", "B");
  EXPECT_EQ(local_files(a), std::vector<std::string>{a});
  EXPECT_EQ(local_files(a + "\n" + b), (std::vector<std::string>{a, b}));
  EXPECT_TRUE(local_files(a + "\n" + (s.dir / "missing").string()).empty()) << "one missing file: keys as typed";
  EXPECT_TRUE(local_files(s.dir.string()).empty()) << "a folder is no file";
  EXPECT_TRUE(local_files("").empty());
}

TEST(FileUploadTests, SeveralFilesAreUploadedOneByOne) {
  Scratch s;
  std::string text = s.file("a.bin", "A") + "\n" + s.file("b.bin", "B");
  int n = 0;
  Remote r(true, "input", [&](const Json&) -> Json { return "/node/" + std::to_string(++n); });
  auto commands = r.typed(text);
  EXPECT_EQ(std::count(commands.begin(), commands.end(), "Grid:UploadFile"), 2);
  EXPECT_EQ(r.calls[1].params, (Json{{"id", "e1"}, {"name", "type"}})) << "the input's type is asked";
  EXPECT_EQ(r.sent_keys(), "/node/1\n/node/2");
}

TEST(FileUploadTests, EverythingElseIsTypedAsItIs) {
  Scratch s;
  std::string path = s.file("fw.bin", "image");
  // A local session: no look at the element at all.
  Remote local(false);
  EXPECT_EQ(local.typed(path), std::vector<std::string>{"WebDriver:ElementSendKeys"});
  EXPECT_EQ(local.sent_keys(), path);
  // Text that names no file here: no command besides the keys.
  Remote remote(true);
  EXPECT_EQ(remote.typed("Admin@9000"), std::vector<std::string>{"WebDriver:ElementSendKeys"});
  // A path typed into a text field stays a path.
  Remote textarea(true, "textarea");
  EXPECT_EQ(textarea.typed(path), (std::vector<std::string>{"WebDriver:GetElementTagName", "WebDriver:ElementSendKeys"}));
  EXPECT_EQ(textarea.sent_keys(), path);
  // A plain W3C driver behind the remote URL knows no upload: the path goes as it is.
  Remote plain(true, "input", [](const Json&) -> Json { throw WebDriverException("unknown command", "unknown command"); });
  auto commands = plain.typed(path);
  EXPECT_EQ(commands.back(), "WebDriver:ElementSendKeys");
  EXPECT_EQ(plain.sent_keys(), path);
}

TEST(FileUploadTests, AFailedUploadIsNotHidden) {
  Scratch s;
  std::string path = s.file("fw.bin", "image");
  Remote gone(true, "input", [](const Json&) -> Json { throw ConnectionException("refused", "connection error"); });
  EXPECT_THROW(gone.typed(path), ConnectionException);
  EXPECT_NE(gone.calls.back().command, "WebDriver:ElementSendKeys") << "no keys after a failed upload";
  Remote odd(true, "input", [](const Json&) -> Json { return nullptr; });
  EXPECT_THROW(odd.typed(path), ProtocolException);
}
