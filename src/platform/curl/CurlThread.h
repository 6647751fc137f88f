#pragma once
#include <curl/curl.h>

#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace quillmere {

class CurlTransfer;

// The one thread on which libcurl runs, with the connections it keeps for later requests. Transfers are touched on this
// thread only.
class CurlThread {
 public:
  CurlThread();
  CurlThread(const CurlThread&) = delete;
  CurlThread& operator=(const CurlThread&) = delete;
  // Drops what is under way without a word to its owner.
  ~CurlThread();

  // Any thread. Runs soon, in order.
  void run(std::function<void()> work);
  void add(std::shared_ptr<CurlTransfer> transfer);
  // Closes the connection of a transfer that is still under way. Harmless afterwards.
  void remove(std::shared_ptr<CurlTransfer> transfer);

 private:
  void loop();
  void runPosted();
  void collectEnded();
  // Ends those that stood still for too long; how many milliseconds until the next one would.
  int endIdle();

  CURLM* const multi_;
  std::map<CURL*, std::shared_ptr<CurlTransfer>> transfers_;
  std::mutex mutex_;
  std::vector<std::function<void()>> posted_;  // guarded by mutex_
  bool isStopped_ = false;                     // guarded by mutex_
  std::thread thread_;
};

}  // namespace quillmere
