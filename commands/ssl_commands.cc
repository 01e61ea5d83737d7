#include "commands/ssl_commands.h"

#include "commands/argument_limits.h"
#include "commands/command_arguments.h"
#include "commands/command_replies.h"
#include "commands/internet_date_time.h"
#include "identity/ssl_functions.h"

namespace quillon {

namespace {

CommandHandler isCertificateAvailable(const IdentityServices& identity, BlockingWork& blocking) {
  return [&identity, &blocking](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const std::string* subject = arguments ? arguments->string("subject") : nullptr;
    const std::string* dateText = arguments ? arguments->string("expirationDate") : nullptr;
    const auto expirationDate = dateText ? parseInternetDateTime(*dateText) : std::nullopt;
    if (!subject || !expirationDate) {
      answerInvalidArgument(std::move(reply), "Expected subject and expirationDate");
      return;
    }
    if (refuseBeyondLimit(kCertificateSubjectLimit, *subject, reply)) return;
    blocking.run(std::move(reply), [&identity, subject = *subject, expirationDate = *expirationDate] {
      return ChannelReply::success(SSLFunctions::isCertificateAvailable(identity, subject, expirationDate));
    });
  };
}

CommandHandler addCertificate(const IdentityServices& identity, BlockingWork& blocking) {
  return [&identity, &blocking](const MethodCall& call, ReplyCallback reply) {
    const auto arguments = CommandArguments::from(call.arguments);
    const std::string* certificate = arguments ? arguments->string("certificate") : nullptr;
    if (!certificate) {
      answerInvalidArgument(std::move(reply), "Expected certificate");
      return;
    }
    if (refuseBeyondLimit(kCertificateLimit, *certificate, reply)) return;
    blocking.run(std::move(reply), [&identity, certificate = *certificate] {
      return ChannelReply::success(SSLFunctions::addCertificate(identity, certificate));
    });
  };
}

CommandHandler getMacAddress(const IdentityServices& identity, BlockingWork& blocking) {
  return [&identity, &blocking](const MethodCall&, ReplyCallback reply) {
    blocking.run(std::move(reply),
                 [&identity] { return ChannelReply::success(SSLFunctions::getMacAddress(identity)); });
  };
}

}  // namespace

CommandList sslCommands(const IdentityServices& identity, BlockingWork& blocking) {
  return {
      {"ssl::isCertificateAvailable", isCertificateAvailable(identity, blocking)},
      {"ssl::addCertificate", addCertificate(identity, blocking)},
      {"ssl::getMacAddress", getMacAddress(identity, blocking)},
      {"ssl::getPlatformUUID", answerText(identity, &SSLFunctions::getPlatformUUID)},
  };
}

}  // namespace quillon
