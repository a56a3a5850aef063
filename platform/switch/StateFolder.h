#pragma once

#include <stdexcept>
#include <string>

namespace velm::embedded {

/// The state folder cannot be used; what() is one line that says which folder and why.
class StateRefused : public std::runtime_error {
 public:
   StateRefused(std::string const& path, std::string const& why);
};

/// The folder that outlives the process, claimed for as long as the object lives. It holds one file, and is for its
/// owner's eyes alone.
class StateFolder {
 public:
   /// Claims the folder; one that does not exist is made. Looks the file over before anything is mapped: a file that is
   /// cut short would end the process at the first touch of what is missing. Throws StateRefused and leaves all as it
   /// was.
   explicit StateFolder(std::string path);
   ~StateFolder();
   StateFolder(StateFolder const&) = delete;
   StateFolder& operator=(StateFolder const&) = delete;

   std::string const& path() const { return path_; }
   /// Whether there was no file when the folder was claimed.
   bool fresh() const { return fresh_; }

   std::string file() const { return path_ + "/switch.mdb"; }
   /// Where a new file is filled before it takes its place: a half-made one is never seen.
   std::string draft() const { return file() + ".new"; }

 private:
   void claim();
   void checkContents();

   std::string const path_;
   int fd_ = -1;  // locked
   bool fresh_ = false;
};

}  // namespace velm::embedded
