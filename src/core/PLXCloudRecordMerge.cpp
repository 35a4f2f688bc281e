#include "core/PLXCloudRecordMerge.h"

#include <stdexcept>

#include "foundation/Log.h"

namespace qsml {
namespace {

constexpr std::string_view method = "+[PLXCloudDatabaseObject mergeBlock]_block_invoke";
constexpr std::string_view userChangedCloudKeys = "userChangedCloudKeys";

// Members that are no texts are damage and count for nothing.
OrderedSet<String> userChangedKeysOf(const CKRecord& remote) {
    std::vector<String> keys;
    for (const Value& element : remote[userChangedCloudKeys].elements())
        if (element.kind() == Value::Kind::string) keys.push_back(element.string());
    return OrderedSet<String>(std::move(keys));
}

class Merge {
public:
    Merge(const std::shared_ptr<PLXCloudDatabaseObject>& local, const CKRecord& remote,
          YapDatabaseCloudKitMergeInfo& info, bool tracks)
        : local_(*local), remote_(remote), info_(info), tracks_(tracks) {
        if (info.pendingLocalRecord) pending_ = KeySet(info.pendingLocalRecord->changedKeys());
    }

    void run() {
        for (const String& key : candidateKeys())
            if (local_.allCloudProperties().contains(key)) compare(key);
        for (const String& key : keysToApply_) apply(key);
        sendAgainWhatStands();
        if (tracks_) uniteUserChangedKeys();
    }

private:
    OrderedSet<String> candidateKeys() const {
        return tracks_ ? userChangedKeysOf(remote_) : OrderedSet<String>(remote_.allKeys());
    }

    // A key that is not pending was changed by the remote side alone, whatever its base.
    void compare(const String& key) {
        const Value& theirs = remote_[key];
        const auto saySame = [&](const Value& ours) {
            return local_.isEqualCloudValue(theirs, CKRecord::asStored(ours), key);
        };
        if (saySame(local_.cloudValueForCloudKey(key))) {
            pending_.erase(key);
        } else if (!pending_.contains(key) || !saySame(info_.originalValues[key])) {
            keysToApply_.push_back(key);
        }
    }

    void apply(const String& key) {
        const Value& value = remote_[key];
        try {
            if (!local_.setLocalValueFromCloudValue(value, key))
                logRefusal(value, key, "the property cannot hold the value");
        } catch (const std::exception& exception) {
            logRefusal(value, key, exception.what());
        }
        pending_.erase(key);
    }

    void logRefusal(const Value& value, const String& key, std::string_view reason) const {
        log(method, 255,
            "Failed to set value " + value.description() + " for key " + key.str() + " of object " +
                std::as_const(local_).cloudUUID().str() + ": " + std::string(reason));
    }

    void sendAgainWhatStands() {
        if (!info_.pendingLocalRecord || !info_.updatedPendingLocalRecord) return;
        for (const String& key : pending_) {
            const Value& mine = (*info_.pendingLocalRecord)[key];
            if (key != userChangedCloudKeys && !local_.isEqualCloudValue(mine, remote_[key], key))
                info_.updatedPendingLocalRecord->setValue(key, mine);
        }
    }

    // What is not put into the updated record leaves the queue. So a queued set that the remote
    // side does not know in full is put there too, also when it did not grow: other devices take
    // the value of a key only where the remote set names it.
    void uniteUserChangedKeys() {
        const OrderedSet<String> mine = local_.userChangedCloudKeys();
        const OrderedSet<String> theirs = userChangedKeysOf(remote_);
        std::vector<String> united = mine.elements();
        united.insert(united.end(), theirs.begin(), theirs.end());
        const OrderedSet<String> both(std::move(united));
        const bool grew = both.size() != mine.size();
        const bool stands = pending_.contains(userChangedCloudKeys) && both.size() != theirs.size();
        if (grew) local_.setUserChangedCloudKeys(both);
        if (!grew && !stands) return;
        if (info_.pendingLocalRecord && info_.updatedPendingLocalRecord)
            info_.updatedPendingLocalRecord->setValue(userChangedCloudKeys,
                                                      Value::Array(both.begin(), both.end()));
    }

    PLXCloudDatabaseObject& local_;
    const CKRecord& remote_;
    YapDatabaseCloudKitMergeInfo& info_;
    const bool tracks_;
    KeySet pending_;
    std::vector<String> keysToApply_;
};

}  // namespace

std::shared_ptr<PLXCloudDatabaseObject> PLXCloudRecordMerge(
    const std::shared_ptr<const PLXCloudDatabaseObject>& stored, const CKRecord& remote,
    YapDatabaseCloudKitMergeInfo& mergeInfo, const PLXRecordClassForCloudType& recordClassForType) {
    const RecordClass* recordClass = recordClassForType(remote.recordType());
    if (!recordClass || !stored || !stored->recordClass().isSubclassOf(*recordClass))
        return nullptr;
    auto merged = std::static_pointer_cast<PLXCloudDatabaseObject>(stored->copyObject());
    Merge(merged, remote, mergeInfo, recordClass->trackUserChangedCloudKeys()).run();
    return merged;
}

}  // namespace qsml
