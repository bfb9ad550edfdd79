#pragma once
// Runs `work` on the global thread pool and hands back a future of its
// result, so a window can watch it and never wait for it on the UI thread.
// Work that cannot have the memory it needs (a recording too long for the
// analysis asked) gives the empty result, Result{}, which the windows show
// as nothing to show: thrown on the pool's thread, it would end the editor.

#include <QFuture>
#include <QPromise>
#include <QThreadPool>
#include <memory>
#include <new>
#include <stdexcept>

namespace vandrel::ui {

template <class Result, class Work>
QFuture<Result> runOnWorker(Work work) {
  auto promise = std::make_shared<QPromise<Result>>();
  QFuture<Result> future = promise->future();
  promise->start();
  QThreadPool::globalInstance()->start([promise, work] {
    try {
      promise->addResult(work());
    } catch (const std::bad_alloc&) {
      promise->addResult(Result{});
    } catch (const std::length_error&) {  // a size no memory holds
      promise->addResult(Result{});
    }
    promise->finish();
  });
  return future;
}

}  // namespace vandrel::ui
