// kxSound Studio over HTTP: each edit reaches the base file as the module writes it, the
// refusals say why, and what an audition returns sounds where the sound was placed.
#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>

#include "io/catalogue_json.h"
#include "kxHost.h"
#include "kxSound.h"
#include "listen.h"
#include "studio_server.h"
#include "studio_session.h"
#include "temp_dir.h"
#include "wave_file.h"

namespace {

constexpr double kToneRms = 0.5 / 1.4142135623730951;  // the files' sine, amplitude 0.5

WaveShape ToneShape(int channels) {
  WaveShape shape;
  shape.Channels = static_cast<uint16_t>(channels);
  shape.Data = Tone(441, 0.5, 22050, channels, 16, 0.5);
  return shape;
}

class StudioHttp : public ::testing::Test {
protected:
  void SetUp() override {
    WriteWave(root, "sounds/Tone.wav", ToneShape(1));
    WriteWave(root, "sounds/wide.wav", ToneShape(2));
    StudioServerOptions options;
    options.Root = root.path();
    options.UploadLimit = 1u << 20;
    server = std::make_unique<StudioServer>();
    std::string error;
    ASSERT_TRUE(server->Start(options, &error)) << error;
    client = std::make_unique<httplib::Client>("127.0.0.1", server->Port());
    headers = {{"X-Studio-Token", server->Token()}};
  }

  httplib::Result Post(const std::string& path, const Json& body) {
    return client->Post(path.c_str(), headers, body.dump(), "application/json");
  }
  // An edit on the present revision; expects it to be taken.
  Json Edit(Json request) {
    request["revision"] = Get("/api/catalogue")["revision"];
    auto res = Post("/api/edit", request);
    EXPECT_EQ(res->status, 200) << request.dump() << " -> " << res->body;
    return Json::parse(res->body);
  }
  Json Get(const std::string& path) {
    auto res = client->Get(path.c_str(), headers);
    EXPECT_EQ(res->status, 200) << res->body;
    return Json::parse(res->body);
  }
  void MakeSound(const std::string& name, const Json& fields, const std::string& file = "sounds\\tone.wav") {
    Edit({{"op", "create"}, {"name", name}});
    Edit({{"op", "set"}, {"name", name}, {"fields", fields}});
    Edit({{"op", "addFile"}, {"name", name}, {"path", file}});
  }
  Capture Audition(const Json& request) {
    auto res = Post("/api/audition", request);
    EXPECT_EQ(res->status, 200) << res->body;
    return ReadWav(res->body);
  }

  TempDir root;
  std::unique_ptr<StudioServer> server;
  std::unique_ptr<httplib::Client> client;
  httplib::Headers headers;
};

TEST_F(StudioHttp, EveryEditReachesTheBaseFileAsTheModuleWritesIt) {
  Edit({{"op", "newPage"}, {"page", "Steps"}});
  Edit({{"op", "newPage"}, {"page", "Gone"}});
  Json step = Json::parse(
      R"({"enabled": 1, "page": 0, "volume": 80, "frequency": 90, "playMode": 0, "numStreams": 2, "looped": 1,
      "crossed": 1, "is3D": 1, "minDistance": 2.5, "maxDistance": 40, "comment": "gravel"})");
  MakeSound("Step", step);
  Edit({{"op", "addFile"}, {"name", "Step"}, {"path", "sounds/WIDE.wav"}});
  Edit({{"op", "enableFile"}, {"name", "Step"}, {"index", 0}, {"enabled", false}});
  Edit({{"op", "moveFile"}, {"name", "Step"}, {"index", 0}, {"to", 1}});
  Json clone = Edit({{"op", "clone"}, {"name", "Step"}});
  Edit({{"op", "rename"}, {"name", clone["name"]}, {"to", "StepCopy"}});
  MakeSound("Doomed", {{"page", 1}});
  Edit({{"op", "create"}, {"name", "Dropped"}});
  Edit({{"op", "delete"}, {"name", "Dropped"}});
  Edit({{"op", "deletePage"}, {"index", 1}});  // takes Doomed with it
  Edit({{"op", "renamePage"}, {"index", 0}, {"page", "Feet"}});
  EXPECT_TRUE(Get("/api/catalogue")["unsaved"].get<bool>());
  EXPECT_FALSE(Post("/api/save", {{"revision", Get("/api/catalogue")["revision"]}})->body.empty());
  EXPECT_FALSE(Get("/api/catalogue")["unsaved"].get<bool>());

  // The saved catalogue, read by the module itself after the studio has ended.
  server->Stop();
  kxHost_SetRootFolder(root.path().c_str());
  kxHost_SetAudioOutput("offline");
  ASSERT_EQ(qorSound_Initialize(nullptr, 1), KXSOUND_OK);
  char page[16] = {};
  EXPECT_EQ(qorSound_GetPageName(0, page), KXSOUND_OK);
  EXPECT_STREQ(page, "Feet");
  EXPECT_NE(qorSound_GetPageName(1, page), KXSOUND_OK);
  EXPECT_NE(qorSound_FindSound("Doomed", nullptr), KXSOUND_OK);
  EXPECT_NE(qorSound_FindSound("Dropped", nullptr), KXSOUND_OK);
  // Every field as the module reads it back. Moved: the switched-off tone went behind the stereo
  // file, its switch with it. A clone takes no comment and no file.
  step["files"] =
      Json::parse(R"([{"path": "sounds\\wide.wav", "enabled": 1}, {"path": "sounds\\tone.wav", "enabled": 0}])");
  Json copy = step;
  copy["comment"] = nullptr;
  copy["files"] = Json::array();
  for (const auto& [name, expected] : {std::pair{"Step", step}, {"StepCopy", copy}}) {
    Json stored = Json::parse(SoundAsJson(name).dump());
    stored.erase("name");
    EXPECT_EQ(stored, expected) << name;
  }
  qorSound_Finalize();
}

// Above full level is stored only when confirmed; revert then goes back to the saved catalogue.
TEST_F(StudioHttp, AnUnusualValueWaitsForConfirmingAndRevertGoesBackToTheSave) {
  MakeSound("Kept", Json::object());
  Post("/api/save", {{"revision", Get("/api/catalogue")["revision"]}});
  Json ask = {
      {"revision", Get("/api/catalogue")["revision"]}, {"op", "set"}, {"name", "Kept"}, {"fields", {{"volume", 150}}}};
  Json reply = Json::parse(Post("/api/edit", ask)->body);
  ASSERT_EQ(reply["confirm"].size(), 1u);
  EXPECT_NE(reply["confirm"][0].get<std::string>().find("above full level"), std::string::npos);
  EXPECT_EQ(Get("/api/sound?name=Kept")["volume"], 100);
  ask["confirm"] = true;
  EXPECT_EQ(Post("/api/edit", ask)->status, 200);
  EXPECT_EQ(Get("/api/sound?name=Kept")["volume"], 150);
  Edit({{"op", "create"}, {"name", "Fresh"}});
  Post("/api/revert", {{"revision", Get("/api/catalogue")["revision"]}});
  Json catalogue = Get("/api/catalogue");
  ASSERT_EQ(catalogue["sounds"].size(), 1u);
  EXPECT_FALSE(catalogue["unsaved"].get<bool>());
  EXPECT_EQ(Get("/api/sound?name=Kept")["volume"], 100);
}

TEST_F(StudioHttp, RefusedRequestsSayWhy) {
  MakeSound("Door", Json::object());
  std::filesystem::create_directory_symlink("/etc", root.file("sounds/out"));
  const httplib::Headers none,
      wrong = {{"X-Studio-Token", std::string(32, '0')}},
      elsewhere = {{"X-Studio-Token", server->Token()}, {"Host", "example.com:" + std::to_string(server->Port())}};
  struct Case {
    const char* What;
    const httplib::Headers& Headers;
    const char* Path;
    const char* Body;  // JSON, the present revision added to an edit's; null: GET
    int Status;
    const char* Says;
  } cases[] = {
      {"no token", none, "/api/catalogue", nullptr, 403, "token"},
      {"a wrong token", wrong, "/api/catalogue", nullptr, 403, "token"},
      {"another Host", elsewhere, "/api/catalogue", nullptr, 403, "Host header"},
      {"a path with ..", headers, "/api/edit", R"({"op": "addFile", "name": "Door", "path": "sounds/../../x.wav"})",
       403, "'..'"},
      {"an absolute path", headers, "/api/preview", R"({"path": "/etc/passwd"})", 403, "absolute"},
      {"a link out of the root", headers, "/api/edit",
       R"({"op": "addFile", "name": "Door", "path": "sounds/out/hosts"})", 403, "outside the root"},
      {"a stale revision", headers, "/api/edit",
       R"({"op": "set", "name": "Door", "fields": {"volume": 5}, "revision": 0})", 409, "another tab"},
      {"an unknown sound", headers, "/api/sound?name=Nobody", nullptr, 404, "no sound"},
      {"a taken name", headers, "/api/edit", R"({"op": "newPage", "page": "A page name far too long"})", 400,
       "1 to 15"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.What);
    Json body = c.Body ? Json::parse(c.Body) : Json();
    if (c.Path == std::string("/api/edit") && !body.contains("revision"))
      body["revision"] = Get("/api/catalogue")["revision"];
    auto res =
        c.Body ? client->Post(c.Path, c.Headers, body.dump(), "application/json") : client->Get(c.Path, c.Headers);
    ASSERT_TRUE(res);
    EXPECT_EQ(res->status, c.Status);
    EXPECT_NE(res->body.find(c.Says), std::string::npos) << res->body;
  }
  EXPECT_EQ(Get("/api/sound?name=Door")["volume"], 100);
}

TEST_F(StudioHttp, UploadsAreConvertedToWhatTheModulePlaysAndTheirSizeIsBounded) {
  WaveShape deep = ToneShape(1);
  std::vector<uint8_t> pcm16 = MakeWave(deep);
  // The same tone as 24-bit samples, which the module refuses.
  WaveShape wide = deep;
  wide.Bits = 24;
  wide.Data.clear();
  for (size_t i = 0; i + 1 < deep.Data.size(); i += 2)
    wide.Data.insert(wide.Data.end(), {0, deep.Data[i], deep.Data[i + 1]});
  std::vector<uint8_t> pcm24 = MakeWave(wide);
  auto send = [&](const char* name, const std::vector<uint8_t>& bytes) {
    return client->Post((std::string("/api/upload?name=") + name).c_str(), headers,
                        std::string(bytes.begin(), bytes.end()), "application/octet-stream");
  };
  auto kept = send("kept.wav", pcm16);
  ASSERT_EQ(kept->status, 200) << kept->body;
  EXPECT_EQ(Json::parse(kept->body)["note"], "");
  EXPECT_EQ(root.read("sounds/kept.wav"), pcm16);
  auto made = send("deep.wav", pcm24);
  ASSERT_EQ(made->status, 200) << made->body;
  EXPECT_NE(Json::parse(made->body)["note"].get<std::string>().find("converted to 16-bit PCM WAV"), std::string::npos);
  EXPECT_EQ(root.read("sounds/deep.wav"), pcm16) << "the same tone in 16 bits";

  EXPECT_EQ(send("kept.wav", pcm16)->status, 409);
  EXPECT_EQ(send("noise.wav", std::vector<uint8_t>(100, 7))->status, 415);
  auto big = send("big.wav", std::vector<uint8_t>(2u << 20, 0));
  ASSERT_TRUE(big);
  EXPECT_EQ(big->status, 413);
  EXPECT_NE(big->body.find("larger than the studio takes"), std::string::npos);
  EXPECT_FALSE(root.exists("sounds/big.wav"));
}

// What an audition or a preview returns sounds where the sound was placed, to its end; a stereo
// file on a 3D sound is offered a mono mix.
TEST_F(StudioHttp, AnAuditionSoundsWhereTheSoundWasPlaced) {
  MakeSound("Flat", Json::object());
  MakeSound("Near", {{"is3D", 1}, {"minDistance", 2}, {"maxDistance", 20}});
  Capture flat = Audition({{"name", "Flat"}});
  ASSERT_GT(flat.Rate, 0u);
  // A centred 2D play is the file at full level on both sides.
  EXPECT_NEAR(Decibels(flat.RmsLeft(0.05, 0.45), kToneRms), 0, 0.5);
  EXPECT_NEAR(Decibels(flat.RmsRight(0.05, 0.45), kToneRms), 0, 0.5);
  EXPECT_NEAR(flat.LastSound(), 0.5, 0.05);

  Capture left = Audition({{"name", "Near"}, {"position", {-4, 0, 1}}});
  Capture right = Audition({{"name", "Near"}, {"position", {4, 0, 1}}});
  EXPECT_GT(Decibels(left.RmsLeft(), left.RmsRight()), 6);
  EXPECT_GT(Decibels(right.RmsRight(), right.RmsLeft()), 6);
  auto past = Post("/api/audition", {{"name", "Near"}, {"position", {0, 0, 30}}});
  EXPECT_EQ(ReadWav(past->body).LastSound(), 0);
  EXPECT_NE(past->get_header_value("X-Studio-Notes").find("MaxDistance"), std::string::npos);

  auto preview = Post("/api/preview", {{"path", "sounds\\TONE.WAV"}});
  ASSERT_EQ(preview->status, 200) << preview->body;
  Json progress = Json::parse(httplib::detail::decode_url(preview->get_header_value("X-Studio-Progress"), false));
  ASSERT_GE(progress.size(), 3u);
  EXPECT_EQ(progress.back()[1], 1000);
  EXPECT_NEAR(progress.back()[0].get<int>(), 500, 60);
  EXPECT_NEAR(ReadWav(preview->body).LastSound(), 0.5, 0.05);

  EXPECT_TRUE(Edit({{"op", "addFile"}, {"name", "Near"}, {"path", "sounds\\wide.wav"}})["stereoOn3D"].get<bool>());
  EXPECT_NE(Get("/api/catalogue")["sounds"][1][3].get<std::string>().find("stereo"), std::string::npos);
  Edit({{"op", "mixDown"}, {"name", "Near"}, {"index", 1}});
  Json near = Get("/api/sound?name=Near");
  EXPECT_EQ(near["files"][1]["path"], "sounds\\wide-mono.wav");
  EXPECT_EQ(near["files"][1]["channels"], 1);
  EXPECT_EQ(Get("/api/catalogue")["sounds"][1][3], "");
}

}  // namespace
