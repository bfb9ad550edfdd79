#pragma once
// Runs `work` on the global thread pool and hands back a future of its
// result, so a window can watch it and never wait for it on the UI thread.

#include <QFuture>
#include <QPromise>
#include <QThreadPool>
#include <memory>

namespace vandrel::ui {

template <class Result, class Work>
QFuture<Result> runOnWorker(Work work) {
  auto promise = std::make_shared<QPromise<Result>>();
  QFuture<Result> future = promise->future();
  promise->start();
  QThreadPool::globalInstance()->start([promise, work] {
    promise->addResult(work());
    promise->finish();
  });
  return future;
}

}  // namespace vandrel::ui
