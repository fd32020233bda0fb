// The order in which messages are tried against an incoming message, and the catch-all
// ("ignore") message that stays last in it.
#include "COLerror.h"
#include "QVMengineInternal.h"

void QVMengineInitMessageOrder(QVMengineConfig& config) {
  QVMmatchOrder& order = config.matchOrder();
  order.clear();
  size_t count = config.rootEngine() ? config.rootEngine()->countOfMessage() : 0;
  for (size_t i = 0; i < count; ++i) order.insert(nullptr, static_cast<uint32_t>(i));
}

void QVMengineInitMessageOrder(QVMengineInternal& engine) { QVMengineInitMessageOrder(engine.engineConfig()); }

size_t QVMengineAddMessage(QVMengineInternal& engine) {
  size_t index = engine.addMessage();
  for (size_t c = 0; c < engine.countOfConfig(); ++c) {
    QVMengineConfig& config = engine.engineConfig(c);
    QVMmatchOrder& order = config.matchOrder();
    bool beforeCatchAll = config.lastMessageMatchesAll() && !order.empty();
    order.insert(beforeCatchAll ? order.last() : nullptr, static_cast<uint32_t>(index));
  }
  return index;
}

COLstring QVMengineFindUniqueMessageName(const QVMengineInternal& engine, const COLstring& base) {
  if (engine.messageByName(base) == QVMengineInternal::npos) return base;
  for (unsigned number = 1;; ++number) {
    COLstring candidate = base;
    COLostream(candidate) << number;
    if (engine.messageByName(candidate) == QVMengineInternal::npos) return candidate;
  }
}

uint32_t QVMengineMessageMatchOrder(const QVMengineInternal& engine, const QVMmessageDefinitionInternal* message) {
  uint32_t position = 0;
  for (auto node = engine.firstMessage(); node; node = QVMmatchOrder::next(node), ++position) {
    uint32_t index = QVMmatchOrder::messageIndex(node);
    if (index < engine.countOfMessage() && engine.message(index) == message) return position;
  }
  throw COLerror("Message not in matching order.", COL_ERROR_PRECONDITION);
}

uint32_t QVMengineIgnoreMessageIndex(const QVMengineConfig& config) {
  if (!config.lastMessageMatchesAll() || config.matchOrder().empty()) return QVMengineConfig::npos;
  return QVMmatchOrder::messageIndex(config.matchOrder().last());
}

uint32_t QVMengineIgnoreMessageIndex(const QVMengineInternal& engine) {
  return QVMengineIgnoreMessageIndex(engine.engineConfig());
}

uint32_t QVMengineIgnoreMessageIndex(const QVMengineInternal& engine, size_t configIndex) {
  return QVMengineIgnoreMessageIndex(engine.engineConfig(configIndex));
}

void QVMengineSetIgnoreMessageIndex(QVMengineConfig& config, uint32_t messageIndex) {
  QVMmatchOrder& order = config.matchOrder();
  if (order.empty()) QVMengineInitMessageOrder(config);
  bool valid = config.rootEngine() && messageIndex < config.rootEngine()->countOfMessage();
  if (!valid) {
    config.setLastMessageMatchesAll(false);
    return;
  }
  config.setLastMessageMatchesAll(true);
  for (auto node = order.first(); node; node = QVMmatchOrder::next(node))
    if (QVMmatchOrder::messageIndex(node) == messageIndex) {
      order.remove(node);
      break;
    }
  order.insert(nullptr, messageIndex);
}

void QVMengineSetIgnoreMessageIndex(QVMengineInternal& engine, uint32_t messageIndex) {
  QVMengineSetIgnoreMessageIndex(engine.engineConfig(), messageIndex);
}

void QVMengineSetIgnoreMessageIndex(QVMengineInternal& engine, size_t configIndex, uint32_t messageIndex) {
  QVMengineSetIgnoreMessageIndex(engine.engineConfig(configIndex), messageIndex);
}

void QVMengineRemoveMessageFromMatchingOrder(QVMengineConfig& config, uint32_t messageIndex) {
  QVMmatchOrder& order = config.matchOrder();
  QVMmatchOrder::Position RemoveMatchIndex = nullptr;
  for (auto node = order.first(); node; node = QVMmatchOrder::next(node)) {
    uint32_t index = QVMmatchOrder::messageIndex(node);
    if (index == messageIndex)
      RemoveMatchIndex = node;
    else if (index > messageIndex && index != QVMengineConfig::npos)
      QVMmatchOrder::setMessageIndex(node, index - 1);
  }
  COL_POSTCONDITION_TEXT(RemoveMatchIndex != nullptr, "RemoveMatchIndex != 0");
  if (RemoveMatchIndex == order.last()) config.setLastMessageMatchesAll(false);
  order.remove(RemoveMatchIndex);
}
