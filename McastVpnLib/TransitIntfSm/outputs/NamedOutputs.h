#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/outputs/ExcludeIntfOutput.h"
#include "McastVpnLib/TransitIntfSm/outputs/IncludeIntfOutput.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconciler.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputSink.h"
#include "McastVpnLib/TransitIntfSm/outputs/RouterIntfOutput.h"
#include "McastVpnLib/TransitIntfSm/outputs/TransitIntfOutput.h"

#include <cstdint>

namespace Irb::Multicast::Evpn {

extern template class OutputSink<TransitIntfOutput>;
extern template class OutputSink<RouterIntfOutput>;
extern template class OutputSink<ExcludeIntfOutput>;
extern template class OutputSink<IncludeIntfOutput>;
extern template class OutputReconciler<TransitIntfOutput>;
extern template class OutputReconciler<RouterIntfOutput>;
extern template class OutputReconciler<ExcludeIntfOutput>;
extern template class OutputReconciler<IncludeIntfOutput>;

// The four outputs of the dataflow machine, and the operations on them under the names
// by which the machine offers them: nothing but forwarders to the sink and the
// reconciler of each output, where everything is explained. Event thread only.
class MCASTVPNLIB_EXPORT NamedOutputs {
 public:
   using TaskPtr = Pelk::Ptr<Kolm::Task>;
   using SchedulerPtr = Pelk::Ptr<Kolm::TaskScheduler>;
   using TransitIntfCollIntfOutputKeyType = TransitIntfOutput::Key;
   using MembershipJoinStatusVlanRouterIntfOutputKeyType = RouterIntfOutput::Key;
   using MembershipJoinStatusVlanGroupSourceExcludeIntfOutputKeyType =
      ExcludeIntfOutput::Key;
   using MembershipJoinStatusVlanGroupSourceIncludeIntfOutputKeyType =
      IncludeIntfOutput::Key;

   NamedOutputs(NamedOutputs const&) = delete;
   NamedOutputs& operator=(NamedOutputs const&) = delete;

   // --- transitIntfCollIntfOutput ---
   bool transitIntfCollIntfOutputReconciling() const {
      return transitSink_.reconciling();
   }
   void transitIntfCollIntfOutputReconcilingIs(bool reconciling) {
      transitSink_.reconcilingIs(reconciling);
   }
   uint8_t transitIntfCollIntfOutputReconciliationState() const {
      return transitSink_.state();
   }
   void transitIntfCollIntfOutputReconciliationStateIs(uint8_t state) {
      transitSink_.stateIs(state);
   }
   TaskPtr const& transitIntfCollIntfOutputReconciliationTask() const {
      return transitReconciler_.task();
   }
   TaskPtr const&
   transitIntfCollIntfOutputReconciliationTaskIs(SchedulerPtr const& scheduler,
                                                 Kolm::TaskPriority priority,
                                                 Pelk::String const& name) {
      return transitReconciler_.taskIs(scheduler, priority, name);
   }
   void transitIntfCollIntfOutputReconciliationTaskDispatch(
      Pelk::Publisher* publisher, Pelk::Subscriber* subscriber, int16_t attributeId,
      void const* key, void const* value) noexcept {
      transitReconciler_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void transitIntfCollIntfOutputReconciliationTaskDel() {
      transitReconciler_.taskDel();
   }
   TransitIntfOutput::Key const& transitIntfCollIntfOutputBookmark() const {
      return transitReconciler_.bookmark();
   }
   bool transitIntfCollIntfOutputUseBookmark() const {
      return transitReconciler_.useBookmark();
   }
   OutputSink<TransitIntfOutput>::Seen::Map const&
   transitIntfCollIntfOutputSeen() const {
      return transitSink_.seen().map();
   }
   void transitIntfCollIntfOutputSeenIs(TransitIntfOutput::Key const& key,
                                        TransitIntfOutput::Value const& value) {
      transitSink_.seen().is(key, value);
   }
   TransitIntfOutput::Value
   transitIntfCollIntfOutputSeenDel(TransitIntfOutput::Key const& key) {
      return transitSink_.seen().del(key);
   }
   void transitIntfCollIntfOutputSeenDelAll() { transitSink_.seen().delAll(); }
   void handleTransitIntfCollIntfOutputInputReady() { transitReconciler_.inputReady(); }

   // --- membershipJoinStatusVlanRouterIntfOutput ---
   bool membershipJoinStatusVlanRouterIntfOutputReconciling() const {
      return routerSink_.reconciling();
   }
   void membershipJoinStatusVlanRouterIntfOutputReconcilingIs(bool reconciling) {
      routerSink_.reconcilingIs(reconciling);
   }
   uint8_t membershipJoinStatusVlanRouterIntfOutputReconciliationState() const {
      return routerSink_.state();
   }
   void membershipJoinStatusVlanRouterIntfOutputReconciliationStateIs(uint8_t state) {
      routerSink_.stateIs(state);
   }
   TaskPtr const& membershipJoinStatusVlanRouterIntfOutputReconciliationTask() const {
      return routerReconciler_.task();
   }
   TaskPtr const& membershipJoinStatusVlanRouterIntfOutputReconciliationTaskIs(
      SchedulerPtr const& scheduler, Kolm::TaskPriority priority,
      Pelk::String const& name) {
      return routerReconciler_.taskIs(scheduler, priority, name);
   }
   void membershipJoinStatusVlanRouterIntfOutputReconciliationTaskDispatch(
      Pelk::Publisher* publisher, Pelk::Subscriber* subscriber, int16_t attributeId,
      void const* key, void const* value) noexcept {
      routerReconciler_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void membershipJoinStatusVlanRouterIntfOutputReconciliationTaskDel() {
      routerReconciler_.taskDel();
   }
   RouterIntfOutput::Key const&
   membershipJoinStatusVlanRouterIntfOutputBookmark() const {
      return routerReconciler_.bookmark();
   }
   bool membershipJoinStatusVlanRouterIntfOutputUseBookmark() const {
      return routerReconciler_.useBookmark();
   }
   OutputSink<RouterIntfOutput>::Seen::Map const&
   membershipJoinStatusVlanRouterIntfOutputSeen() const {
      return routerSink_.seen().map();
   }
   void
   membershipJoinStatusVlanRouterIntfOutputSeenIs(RouterIntfOutput::Key const& key) {
      routerSink_.seen().is(key, {});
   }
   void
   membershipJoinStatusVlanRouterIntfOutputSeenDel(RouterIntfOutput::Key const& key) {
      routerSink_.seen().del(key);
   }
   void membershipJoinStatusVlanRouterIntfOutputSeenDelAll() {
      routerSink_.seen().delAll();
   }
   bool membershipJoinStatusVlanRouterIntfOutputSeenHas(
      RouterIntfOutput::Key const& key) const {
      return routerSink_.seen().has(key);
   }
   void handleMembershipJoinStatusVlanRouterIntfOutputInputReady() {
      routerReconciler_.inputReady();
   }

   // --- membershipJoinStatusVlanGroupSourceExcludeIntfOutput ---
   bool membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciling() const {
      return excludeSink_.reconciling();
   }
   void
   membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconcilingIs(bool reconciling) {
      excludeSink_.reconcilingIs(reconciling);
   }
   uint8_t
   membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationState() const {
      return excludeSink_.state();
   }
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationStateIs(
      uint8_t state) {
      excludeSink_.stateIs(state);
   }
   TaskPtr const&
   membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTask() const {
      return excludeReconciler_.task();
   }
   TaskPtr const&
   membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTaskIs(
      SchedulerPtr const& scheduler, Kolm::TaskPriority priority,
      Pelk::String const& name) {
      return excludeReconciler_.taskIs(scheduler, priority, name);
   }
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTaskDispatch(
      Pelk::Publisher* publisher, Pelk::Subscriber* subscriber, int16_t attributeId,
      void const* key, void const* value) noexcept {
      excludeReconciler_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTaskDel() {
      excludeReconciler_.taskDel();
   }
   ExcludeIntfOutput::Key const&
   membershipJoinStatusVlanGroupSourceExcludeIntfOutputBookmark() const {
      return excludeReconciler_.bookmark();
   }
   bool membershipJoinStatusVlanGroupSourceExcludeIntfOutputUseBookmark() const {
      return excludeReconciler_.useBookmark();
   }
   OutputSink<ExcludeIntfOutput>::Seen::Map const&
   membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen() const {
      return excludeSink_.seen().map();
   }
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenIs(
      ExcludeIntfOutput::Key const& key) {
      excludeSink_.seen().is(key, {});
   }
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenDel(
      ExcludeIntfOutput::Key const& key) {
      excludeSink_.seen().del(key);
   }
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenDelAll() {
      excludeSink_.seen().delAll();
   }
   bool membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenHas(
      ExcludeIntfOutput::Key const& key) const {
      return excludeSink_.seen().has(key);
   }
   void handleMembershipJoinStatusVlanGroupSourceExcludeIntfOutputInputReady() {
      excludeReconciler_.inputReady();
   }

   // --- membershipJoinStatusVlanGroupSourceIncludeIntfOutput ---
   bool membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciling() const {
      return includeSink_.reconciling();
   }
   void
   membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconcilingIs(bool reconciling) {
      includeSink_.reconcilingIs(reconciling);
   }
   uint8_t
   membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationState() const {
      return includeSink_.state();
   }
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationStateIs(
      uint8_t state) {
      includeSink_.stateIs(state);
   }
   TaskPtr const&
   membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTask() const {
      return includeReconciler_.task();
   }
   TaskPtr const&
   membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTaskIs(
      SchedulerPtr const& scheduler, Kolm::TaskPriority priority,
      Pelk::String const& name) {
      return includeReconciler_.taskIs(scheduler, priority, name);
   }
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTaskDispatch(
      Pelk::Publisher* publisher, Pelk::Subscriber* subscriber, int16_t attributeId,
      void const* key, void const* value) noexcept {
      includeReconciler_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTaskDel() {
      includeReconciler_.taskDel();
   }
   IncludeIntfOutput::Key const&
   membershipJoinStatusVlanGroupSourceIncludeIntfOutputBookmark() const {
      return includeReconciler_.bookmark();
   }
   bool membershipJoinStatusVlanGroupSourceIncludeIntfOutputUseBookmark() const {
      return includeReconciler_.useBookmark();
   }
   OutputSink<IncludeIntfOutput>::Seen::Map const&
   membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen() const {
      return includeSink_.seen().map();
   }
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenIs(
      IncludeIntfOutput::Key const& key) {
      includeSink_.seen().is(key, {});
   }
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenDel(
      IncludeIntfOutput::Key const& key) {
      includeSink_.seen().del(key);
   }
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenDelAll() {
      includeSink_.seen().delAll();
   }
   bool membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenHas(
      IncludeIntfOutput::Key const& key) const {
      return includeSink_.seen().has(key);
   }
   void handleMembershipJoinStatusVlanGroupSourceIncludeIntfOutputInputReady() {
      includeReconciler_.inputReady();
   }

 protected:
   explicit NamedOutputs(TransitIntfSm* sm) noexcept;
   ~NamedOutputs();

   OutputSink<TransitIntfOutput> transitSink_;
   OutputSink<RouterIntfOutput> routerSink_;
   OutputSink<ExcludeIntfOutput> excludeSink_;
   OutputSink<IncludeIntfOutput> includeSink_;
   OutputReconciler<TransitIntfOutput> transitReconciler_;
   OutputReconciler<RouterIntfOutput> routerReconciler_;
   OutputReconciler<ExcludeIntfOutput> excludeReconciler_;
   OutputReconciler<IncludeIntfOutput> includeReconciler_;
};

} // namespace Irb::Multicast::Evpn
