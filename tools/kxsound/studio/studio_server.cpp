#include "studio_server.h"

#include <httplib.h>

#include <cstdio>
#include <thread>

#include "studio_session.h"
#include "studio_web.h"

namespace {

constexpr char kTokenHeader[] = "X-Studio-Token";

std::string RandomToken() {
  unsigned char bytes[16] = {};
  std::FILE* source = std::fopen("/dev/urandom", "rb");
  bool read = source && std::fread(bytes, 1, sizeof bytes, source) == sizeof bytes;
  if (source) std::fclose(source);
  if (!read) return std::string();
  static const char digits[] = "0123456789abcdef";
  std::string token;
  for (unsigned char b : bytes) {
    token += digits[b >> 4];
    token += digits[b & 15];
  }
  return token;
}

// Takes as long for a wrong token as for a right one.
bool SameToken(const std::string& given, const std::string& token) {
  if (given.size() != token.size()) return false;
  unsigned char diff = 0;
  for (size_t i = 0; i < token.size(); ++i) diff |= static_cast<unsigned char>(given[i] ^ token[i]);
  return diff == 0;
}

void Refuse(httplib::Response& res, int status, const std::string& text) {
  res.status = status;
  res.set_content(Json{{"error", text}}.dump(), "application/json");
}

// Percent-encoded JSON, which a header carries whatever the text holds.
std::string HeaderJson(const Json& value) {
  std::string text = value.dump(), out;
  static const char digits[] = "0123456789ABCDEF";
  for (unsigned char c : text) {
    if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += digits[c >> 4];
      out += digits[c & 15];
    }
  }
  return out;
}

Json Body(const httplib::Request& req) {
  Json body = Json::parse(req.body, nullptr, false);
  if (body.is_discarded() || !body.is_object()) throw StudioError(400, "The request is not a JSON object.");
  return body;
}

void SendWav(httplib::Response& res, const Rendered& rendered) {
  res.set_header("X-Studio-Notes", HeaderJson(rendered.Notes));
  if (!rendered.Progress.empty()) res.set_header("X-Studio-Progress", HeaderJson(rendered.Progress));
  res.set_content(rendered.Wav, "audio/wav");
}

}  // namespace

struct StudioServer::Impl {
  httplib::Server Http;
  std::unique_ptr<StudioSession> Session;
  std::thread Listener;
  StudioServerOptions Options;
  std::string Token;
  int Port = 0;

  // The Host a browser sends for this address, and nothing else.
  bool HostAllowed(const httplib::Request& req) const {
    std::string host = req.get_header_value("Host"), port = ":" + std::to_string(Port);
    return host == "127.0.0.1" + port || host == "localhost" + port;
  }

  httplib::Server::HandlerResponse Guard(const httplib::Request& req, httplib::Response& res) {
    if (!HostAllowed(req)) {
      Refuse(res, 403, "Refused: the Host header must be 127.0.0.1:" + std::to_string(Port) + " or localhost:" +
                           std::to_string(Port) + ". Open the address kxsound studio printed.");
      return httplib::Server::HandlerResponse::Handled;
    }
    if (req.path.compare(0, 5, "/api/") == 0 && !SameToken(req.get_header_value(kTokenHeader), Token)) {
      Refuse(res, 403, "Refused: this request does not carry the studio's token. Open the address kxsound studio "
                       "printed (it ends in ?token=...) and work in that page.");
      return httplib::Server::HandlerResponse::Handled;
    }
    return httplib::Server::HandlerResponse::Unhandled;
  }

  // Runs a handler; a StudioError becomes its status with the message for the page.
  template <typename F>
  httplib::Server::Handler Api(F handler) {
    return [handler](const httplib::Request& req, httplib::Response& res) {
      try {
        handler(req, res);
      } catch (const StudioError& error) {
        Refuse(res, error.Status, error.what());
      } catch (const std::exception& error) {
        Refuse(res, 500, std::string("The studio failed: ") + error.what());
      }
    };
  }

  void Routes() {
    StudioSession& s = *Session;
    Http.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) { return Guard(req, res); });
    // A larger body is read to its end and dropped, so the browser gets the answer, not a broken connection.
    Http.set_payload_max_length(Options.UploadLimit);
    Http.set_error_handler([this](const httplib::Request&, httplib::Response& res) {
      if (res.body.empty() && res.status == 413)
        Refuse(res, 413, "Refused: the file is larger than the studio takes (" +
                             std::to_string(Options.UploadLimit / (1024 * 1024)) + " MB).");
      else if (res.body.empty() && res.status == 404) Refuse(res, 404, "There is no such page.");
    });
    Http.Get("/", [this](const httplib::Request& req, httplib::Response& res) {
      if (!SameToken(req.get_param_value("token"), Token)) {
        res.status = 403;
        res.set_content("<!doctype html><title>kxSound Studio</title><p>This address needs the token that "
                        "<code>kxsound studio</code> printed: open the whole address it printed.</p>",
                        "text/html");
        return;
      }
      const StudioWebFile* page = FindStudioWebFile("/index.html");
      res.set_header("Cache-Control", "no-store");
      res.set_content(reinterpret_cast<const char*>(page->Data), page->Size, page->Type);
    });
    // The page's own scripts and style hold no data of the catalogue; they need no token.
    Http.Get(R"(/static/([a-z0-9_\-]+\.(js|css)))", [](const httplib::Request& req, httplib::Response& res) {
      const StudioWebFile* file = FindStudioWebFile("/" + req.matches[1].str());
      if (!file) return Refuse(res, 404, "There is no such file.");
      res.set_content(reinterpret_cast<const char*>(file->Data), file->Size, file->Type);
    });
    Http.Get("/api/catalogue", Api([&s](const httplib::Request&, httplib::Response& res) {
               res.set_content(s.Catalogue().dump(), "application/json");
             }));
    Http.Get("/api/sound", Api([&s](const httplib::Request& req, httplib::Response& res) {
               res.set_content(s.Sound(req.get_param_value("name")).dump(), "application/json");
             }));
    Http.Post("/api/edit", Api([&s](const httplib::Request& req, httplib::Response& res) {
                res.set_content(s.Edit(Body(req)).dump(), "application/json");
              }));
    Http.Post("/api/save", Api([&s](const httplib::Request& req, httplib::Response& res) {
                res.set_content(s.Save(Body(req).value("revision", -1)).dump(), "application/json");
              }));
    Http.Post("/api/revert", Api([&s](const httplib::Request& req, httplib::Response& res) {
                res.set_content(s.Revert(Body(req).value("revision", -1)).dump(), "application/json");
              }));
    Http.Get("/api/folder", Api([&s](const httplib::Request&, httplib::Response& res) {
               res.set_content(s.Folder().dump(), "application/json");
             }));
    Http.Get("/api/waveform", Api([&s](const httplib::Request& req, httplib::Response& res) {
               int points = std::atoi(req.get_param_value("points").c_str());
               res.set_content(s.Waveform(req.get_param_value("path"), points).dump(), "application/json");
             }));
    Http.Post("/api/upload", Api([&s](const httplib::Request& req, httplib::Response& res) {
                res.set_content(s.Upload(req.get_param_value("name"), req.body).dump(), "application/json");
              }));
    Http.Post("/api/audition", Api([&s](const httplib::Request& req, httplib::Response& res) {
                Json body = Body(req);
                std::optional<std::vector<float>> position;
                auto at = body.find("position");
                if (at != body.end() && !at->is_null()) {
                  if (!at->is_array()) throw StudioError(400, "A position is an array of three numbers.");
                  position = std::vector<float>();
                  for (const Json& v : *at) {
                    if (!v.is_number()) throw StudioError(400, "A position is an array of three numbers.");
                    position->push_back(v.get<float>());
                  }
                }
                SendWav(res, s.Audition(body.value("name", std::string()), position));
              }));
    Http.Post("/api/preview", Api([&s](const httplib::Request& req, httplib::Response& res) {
                SendWav(res, s.Preview(Body(req).value("path", std::string())));
              }));
  }
};

StudioServer::StudioServer() : impl_(new Impl) {}

StudioServer::~StudioServer() { Stop(); }

bool StudioServer::Start(const StudioServerOptions& options, std::string* error) {
  Impl& m = *impl_;
  m.Options = options;
  m.Token = RandomToken();
  if (m.Token.empty()) return *error = "no random numbers from /dev/urandom for the token", false;
  try {
    m.Session = std::make_unique<StudioSession>(options.Root);
  } catch (const StudioError& failure) {
    return *error = failure.what(), false;
  }
  if (!m.Session->Start(error)) return false;
  m.Routes();
  if (options.Port > 0) {
    if (!m.Http.bind_to_port("127.0.0.1", options.Port)) m.Port = -1;
    else m.Port = options.Port;
  } else {
    m.Port = m.Http.bind_to_any_port("127.0.0.1");
  }
  if (m.Port <= 0) {
    m.Session->Stop();
    return *error = "cannot listen on 127.0.0.1:" + std::to_string(options.Port) + " (is the port taken?)", false;
  }
  m.Listener = std::thread([&m] { m.Http.listen_after_bind(); });
  return true;
}

void StudioServer::Stop() {
  Impl& m = *impl_;
  if (m.Listener.joinable()) {
    m.Http.stop();
    m.Listener.join();
  }
  if (m.Session) m.Session->Stop();
}

int StudioServer::Port() const { return impl_->Port; }
const std::string& StudioServer::Token() const { return impl_->Token; }
std::string StudioServer::Address() const {
  return "http://127.0.0.1:" + std::to_string(impl_->Port) + "/?token=" + impl_->Token;
}
