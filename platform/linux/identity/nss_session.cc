#include "platform/linux/identity/nss_session.h"

#include <sys/stat.h>

#include <cerrno>

namespace quillon {

namespace {

// Creates `directory` and its missing parents, private to the user, as the
// programs that share this database do.
bool makeDirectories(const std::string& directory) {
  for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
    const std::string prefix = directory.substr(0, slash);
    if (!prefix.empty() && ::mkdir(prefix.c_str(), 0700) != 0 && errno != EEXIST) return false;
    if (slash == std::string::npos) return true;
  }
}

std::uint32_t flagsFor(NssSession::Access access) {
  // No module database: only the database's own token is wanted, and the user's
  // module list (smart cards, for one) stays untouched and unloaded.
  std::uint32_t flags = NSS_INIT_NOMODDB | NSS_INIT_NOROOTINIT | NSS_INIT_OPTIMIZESPACE;
  if (access == NssSession::Access::kNoDatabase) flags |= NSS_INIT_NOCERTDB | NSS_INIT_READONLY | NSS_INIT_FORCEOPEN;
  if (access == NssSession::Access::kReadOnly) flags |= NSS_INIT_READONLY;
  return flags;
}

}  // namespace

std::unique_ptr<NssSession> NssSession::open(const std::string& directory, Access access) {
  if (access == Access::kReadWrite && !makeDirectories(directory)) return nullptr;
  const std::string configuration = access == Access::kNoDatabase ? std::string() : "sql:" + directory;
  NSSInitContext* context =
      NSS_InitContext(configuration.c_str(), "", "", "", nullptr, flagsFor(access));
  if (!context) return nullptr;
  NssSlot slot(PK11_GetInternalKeySlot());
  if (!slot) {
    NSS_ShutdownContext(context);
    return nullptr;
  }
  // A new database gets an empty password, so that it never asks for one.
  if (access == Access::kReadWrite && PK11_NeedUserInit(slot.get())) PK11_InitPin(slot.get(), nullptr, "");
  return std::unique_ptr<NssSession>(new NssSession(context, std::move(slot), access));
}

NssSession::~NssSession() {
  slot_.reset();
  NSS_ShutdownContext(context_);
}

}  // namespace quillon
