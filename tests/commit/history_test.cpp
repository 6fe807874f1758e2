// Random histories of collections, nested recorders and transactions, held against a plain model.
#include "commit/changes.hpp"
#include "commit/history_model.hpp"
#include "common/allocation.hpp"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "model/overlay.hpp"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace vorn::test;

const std::map<std::string, std::vector<const char *>> kinds = {
    {"system", {"host", "place"}}, {"server", {"address", "state"}}, {"wire", {"speed", "mtu"}},
    {"air", {"channel", "mtu"}},   {"radio", {"mode", "power"}},     {"rule", {"action"}}};

std::string text_of(const Item &item) {
  std::string text =
      "Instance name: " + (item.name.empty() ? "n/a" : item.name) + "\tclass: " + item.cls + "\n";
  for (const auto &[property, value] : item.values) text += "   " + property + " =\t" + value + "\n";
  return text + "\n";
}

std::string text_of(const Classes &classes) {
  std::string text;
  for (const auto &[cls, all] : classes) {
    for (const ItemPtr &item : all) text += text_of(*item);
    text += "\n";
  }
  return text;
}

// An iterator that stands open, and what it has still to show.
struct Walk {
  Collection *over;
  vorn_instances_iterator *real;
  Items due;
};

class History {
public:
  History(unsigned seed, bool scarce) : chance_(seed), scarce_(scarce) {}
  ~History();
  void run(int steps);

private:
  unsigned below(size_t limit) { return static_cast<unsigned>(chance_() % limit); }
  template <class Choice> const auto &any(const Choice &choice) {
    return *std::next(choice.begin(), below(choice.size()));
  }
  ItemPtr any_item(const Collection &of);
  void note(const std::string &what, const Collection &of) {
    const char *where = &of == base_.get() ? " base" : " transaction";
    notes_.push_back(what + where);
    if (notes_.size() > 40) notes_.erase(notes_.begin());
  }
  void equal(const std::string &wanted, const std::string &seen, const char *what) {
    if (wanted == seen) return;
    failed_ = true;
    ADD_FAILURE() << what << " is\n" << seen << "\nbut should be\n" << wanted;
  }
  void expect(bool holds, const char *what) { equal("yes", holds ? "yes" : "no", what); }
  // Whether what should succeed has, or has not where memory may have failed.
  template <class Attempt> bool done(Attempt attempt, bool should = true);

  vorn_instance *shown(Collection &of, const ItemPtr &item);
  bool take_handle(Collection &of, const ItemPtr &item);
  void see(const ItemPtr &item, vorn_instance *real);
  ItemPtr known_as(Collection &in, vorn_instance *real);

  void step();
  void set(Collection &of);
  void add(Collection &of);
  void remove(Collection &of);
  void drop(Collection &of);
  void record(Collection &of);
  void end_recorder(Collection &of);
  void ask(Collection &of);
  void touch(Collection &of);
  void walk(Collection &of);
  void go_on();
  void begin_transaction();
  void end_transaction();
  void check(Collection &of, bool whole);
  void check_list(const Items &wanted, vorn_instances_iterator *it);
  void check_before(Recorder &recorder, const std::string &cls);
  void check_properties(Collection &of, const Recorder &recorder);
  void free_loose();

  std::mt19937 chance_;
  bool scarce_, failed_ = false, short_ = false;
  std::vector<std::string> notes_{};
  std::unique_ptr<Collection> base_ = std::make_unique<Collection>(vorn_instances_new());
  std::unique_ptr<Collection> transaction_{};
  std::unique_ptr<vorn::Overlay> applied_{};
  std::vector<Walk> walks_{};
  std::vector<std::pair<Collection *, ItemPtr>> loose_{}; // taken out, and not freed
};

template <class Attempt> bool History::done(Attempt attempt, bool should) {
  if (scarce_ && below(4) == 0) vorn::test::allocations_left = below(12);
  bool did = false;
  try {
    did = attempt();
  } catch (const std::bad_alloc &) {
  }
  short_ = vorn::test::allocations_left == 0;
  vorn::test::allocations_left = -1;
  if (!did) notes_.back() += " (refused)";
  if (!(should && !did && short_)) expect(did == should, "the outcome as expected");
  return did;
}

ItemPtr History::any_item(const Collection &of) {
  const Items all = all_of(of.now());
  return all.empty() ? nullptr : any(all);
}

void History::see(const ItemPtr &item, vorn_instance *real) {
  expect(real && (!item->real || item->real == real), "the handle of an instance the same");
  item->real = real;
}

vorn_instance *History::shown(Collection &of, const ItemPtr &item) {
  Classes now = of.now();
  const Items &all = *find(now, item->cls);
  vorn_instances_iterator it(*of.real, *vorn_classes_get(item->cls.c_str()));
  for (const ItemPtr &other : all) {
    if (other == item) return it.peek();
    it.next();
  }
  return nullptr;
}

bool History::take_handle(Collection &of, const ItemPtr &item) {
  if (item->real) return true;
  vorn_instance *there = shown(of, item), *own = nullptr;
  expect(there != nullptr, "an instance of the model there");
  if (!there) return false;
  if (!done([&] { return (own = &vorn::own(*of.real, *there)) != nullptr; })) return false;
  see(item, own);
  return true;
}

ItemPtr History::known_as(Collection &in, vorn_instance *real) {
  vorn_instance *origin = in.base ? in.real->overlay->origin_of(*real) : nullptr;
  for (const ItemPtr &item : all_of(in.now()))
    if (item->real == real || (origin && item->origin && item->origin->real == origin)) return item;
  return nullptr;
}

// ---- What is done to a collection ----

void History::set(Collection &of) {
  const ItemPtr item = any_item(of);
  if (!item || !take_handle(of, item)) return;
  const std::string property = any(kinds.at(item->cls));
  const std::string value = below(30) == 0   ? "bad"
                            : below(12) == 0 ? std::string(400, 'x')
                                             : "v" + std::to_string(below(9));
  note("set " + item->cls + ":" + item->name + " " + property + " " + value.substr(0, 4), of);
  const auto attempt = [&] {
    return vorn_instance_set_value(item->real, property.c_str(), value.c_str()) == 0;
  };
  if (done(attempt, value != "bad")) of.set(item, property, value);
}

void History::add(Collection &of) {
  ItemPtr item;
  if (!loose_.empty() && below(3) == 0 && loose_.back().first == &of) {
    item = loose_.back().second;
  } else {
    const auto &[cls, properties] = any(kinds);
    const bool named = cls != "system" && cls != "server";
    item = std::make_shared<Item>(Item{cls, named ? "n" + std::to_string(below(6)) : ""});
    item->real = make(cls.c_str(), named ? item->name.c_str() : nullptr);
    loose_.emplace_back(&of, item);
    for (unsigned count = below(3); count > 0; --count) {
      set_value(*item, properties[0], "w" + std::to_string(count));
      vorn_instance_set_value(item->real, properties[0], item->values.back().second.c_str());
    }
  }
  note("add " + item->cls + ":" + item->name, of);
  if (done([&] { return vorn_instances_add(of.real, item->real) == 0; }, of.fits(*item))) {
    of.add(item);
    loose_.pop_back();
  } else if ((of.base && of.real->overlay->made(*item->real->cls)) ||
             (!of.base && of.real->store(*item->real->cls))) {
    of.place(item->cls);
  }
}

void History::remove(Collection &of) {
  const ItemPtr item = any_item(of);
  if (!item) return;
  const bool keep = below(3) == 0;
  if ((keep || below(2) == 0) && !take_handle(of, item)) return;
  vorn_instance *real = shown(of, item);
  note((keep ? "remove " : "delete ") + item->cls + ":" + item->name, of);
  const auto attempt = [&] {
    if (keep) return vorn_instances_remove(of.real, real) == 0;
    vorn::prepare_deletion(*of.real, *real);
    return true;
  };
  if (!done(attempt)) return;
  if (!keep) vorn::delete_prepared(*of.real, *real);
  of.remove(item);
  if (keep) loose_.emplace_back(&of, item);
}

void History::drop(Collection &of) {
  const std::string cls = any(kinds).first;
  const bool keep = below(2) == 0;
  note((keep ? "remove class " : "delete class ") + cls, of);
  // A place that was made for the class stays when it is dropped below.
  if (of.base && of.real->overlay->made(*vorn_classes_get(cls.c_str()))) of.place(cls);
  const auto function = keep ? vorn_instances_remove_class : vorn_instances_delete_class;
  if (!done([&] { return function(of.real, cls.c_str()) == 0; })) return;
  for (const ItemPtr &item : of.drop(cls))
    if (keep && item->real) loose_.emplace_back(&of, item);
}

void History::touch(Collection &of) {
  const ItemPtr item = any_item(of);
  if (of.base || of.recorders.empty() || !item) return;
  Recorder &recorder = *any(of.recorders);
  note("updated " + item->cls + ":" + item->name, of);
  if (done([&] { return vorn_changes_instance_updated(recorder.real, item->real) == 0; }))
    recorder.update(item);
}

void History::free_loose() {
  for (const auto &[of, item] : loose_) vorn_instance_delete(item->real);
  loose_.clear();
}

// ---- Recorders, transactions, walks ----

void History::record(Collection &of) {
  if (of.base || of.recorders.size() == 3) return;
  note("record", of);
  vorn_changes *made = nullptr;
  if (done([&] { return (made = vorn_changes_new(of.real)) != nullptr; }))
    of.recorders.push_back(new Recorder(made, of.now()));
}

void History::end_recorder(Collection &of) {
  if (of.base || of.recorders.empty()) return;
  Recorder *recorder = below(3) ? of.recorders.back() : any(of.recorders);
  note("end of a recorder", of);
  check_before(*recorder, "");
  check_properties(of, *recorder);
  vorn_changes_delete(recorder->real);
  std::erase(of.recorders, recorder);
  delete recorder;
  if (of.recorders.empty()) applied_.reset();
}

void History::begin_transaction() {
  // A change below that a watcher of the transaction refuses would stay in an older recorder's lists.
  if (scarce_ && !base_->recorders.empty()) return;
  note("begin", *base_);
  vorn::OwnedInstances made;
  if (!done([&] { return (made = vorn::share(*base_->real)) != nullptr; })) return;
  transaction_ = base_->share(made.release());
  if (vorn_changes *recorder = vorn_changes_new(transaction_->real))
    transaction_->recorders.push_back(new Recorder(recorder, transaction_->now()));
}

void History::end_transaction() {
  Collection &of = *transaction_;
  const bool conflict = of.real->overlay->fault() == vorn::Overlay::Fault::conflict;
  const bool memory = of.real->overlay->fault() == vorn::Overlay::Fault::memory;
  // An addition below that is refused later may leave the conflict.
  if (!memory && !scarce_) expect(conflict == of.has_conflict, "a conflict as expected");
  for (Walk &walk : walks_) vorn_instances_delete_iterator(walk.real);
  walks_.clear();
  base_->transaction = nullptr;
  if (failed_ || conflict || memory || !base_->recorders.empty() || below(3) == 0) {
    note("drop", of);
    vorn_changes_delete(of.recorders[0]->real);
    delete of.recorders[0];
    vorn_instances_delete_all(of.real);
    std::erase_if(loose_, [&](auto &entry) {
      return entry.first == &of && vorn_instance_delete(entry.second->real) == 0;
    });
    transaction_.reset();
    return;
  }
  note("apply", of);
  std::erase_if(loose_, [&](auto &entry) {
    return entry.first != &of && vorn_instance_delete(entry.second->real) == 0;
  });
  applied_ = vorn::Overlay::apply(*of.real);
  vorn_instances_delete_all(base_->real);
  of.apply();
  if (of.class_order_is_open) {
    Classes ordered;
    for (const auto &store : of.real->stores) {
      const Items *all = find(of.classes, store.name());
      place(ordered, store.name()) = all ? *all : Items();
    }
    of.classes = ordered;
    of.class_order_is_open = false;
  }
  base_ = std::move(transaction_);
}

void History::ask(Collection &of) {
  if (of.recorders.empty()) return;
  Recorder &recorder = *any(of.recorders);
  if (below(2) == 0) return check_before(recorder, below(8) ? any(kinds).first : below(2) ? "port" : "");
  const ItemPtr item = any_item(of);
  if (!item || !take_handle(of, item)) return;
  note("before of " + item->cls + ":" + item->name, of);
  vorn_instance *before = nullptr;
  const bool was_there = recorder.copies.contains(item);
  done([&] { return (before = vorn_changes_get_instance_before(recorder.real, item->real)) != nullptr; },
       was_there);
  if (before) see(recorder.copies[item], before);
}

void History::walk(Collection &of) {
  if (walks_.size() == 4) return;
  const std::string cls = below(2) ? any(kinds).first : "";
  note("walk " + cls, of);
  Classes now = of.now();
  const Items *due = find(now, cls);
  auto *it = vorn_instances_new_class_iterator(of.real, cls.empty() ? nullptr : cls.c_str());
  if (!cls.empty() && !due) due = &place(now, cls);
  walks_.push_back({&of, it, cls.empty() ? all_of(now) : *due});
}

void History::go_on() {
  if (walks_.empty()) return;
  const size_t index = below(walks_.size());
  Walk &walk = walks_[index];
  vorn_instance *real = vorn_instances_iterator_next(walk.real);
  const ItemPtr item = real ? known_as(*walk.over, real) : nullptr;
  note("next " + (item ? item->cls + ":" + item->name : "none"), *walk.over);
  if (real) {
    expect(item != nullptr, "what a walk shows in the collection");
    if (!item) return;
    see(item, real);
    if (std::count(walk.due.begin(), walk.due.end(), item)) {
      expect(walk.due.front() == item, "a walk in order");
      std::erase(walk.due, item);
    }
    return;
  }
  expect(walk.due.empty(), "a walk complete");
  vorn_instances_delete_iterator(walk.real);
  walks_.erase(std::next(walks_.begin(), static_cast<std::ptrdiff_t>(index)));
}

// ---- Comparing ----

void History::check_list(const Items &wanted, vorn_instances_iterator *it) {
  for (const ItemPtr &item : wanted) {
    vorn_instance *real = vorn_instances_iterator_next(it);
    if (!real) break;
    see(item, real);
    equal(text_of(*item), printed(vorn_instance_print, real) + "\n", "a listed instance");
  }
  expect(!vorn_instances_iterator_has_next(it), "a list at its end");
  vorn_instances_delete_iterator(it);
}

void History::check_before(Recorder &recorder, const std::string &cls) {
  vorn_instances *before = vorn_changes_get_before(recorder.real);
  Items wanted = cls.empty() ? all_of(recorder.before) : Items();
  for (const std::string &one : cls == "port" ? std::vector<std::string>{"wire", "air"} : std::vector{cls})
    if (const Items *all = find(recorder.before, one)) wanted.insert(wanted.end(), all->begin(), all->end());
  check_list(wanted, vorn_instances_new_class_iterator(before, cls.empty() ? nullptr : cls.c_str()));
  if (cls.empty()) equal(text_of(recorder.before), printed(vorn_instances_print, before), "before");
}

void History::check_properties(Collection &of, const Recorder &recorder) {
  for (const ItemPtr &item : all_of(of.now())) {
    for (const char *property : kinds.at(item->cls)) {
      const auto at = recorder.properties.find(item);
      const bool wanted = at != recorder.properties.end() && at->second.contains(property);
      if (item->real)
        expect((vorn_changes_contains_property(recorder.real, item->real, property) != 0) == wanted,
               property);
    }
  }
}

void History::check(Collection &of, bool whole) {
  Classes wanted = of.now();
  if (whole && !of.class_order_is_open)
    equal(text_of(wanted), printed(vorn_instances_print, of.real), "the collection");
  expect(vorn_instances_is_empty(of.real) == all_of(wanted).empty(), "whether it is empty");
  for (Recorder *recorder : of.recorders) {
    const std::string changes = "Changed (updated or inserted) instances:\n" + text_of(recorder->changed) +
                                "\nDeleted instances:\n" + text_of(recorder->deleted) + "\n";
    // A refused addition may leave its class a place in a list.
    if (!scarce_) equal(changes, printed(vorn_changes_print, recorder->real), "changes");
    expect(vorn_instances_is_empty(vorn_changes_get_before(recorder->real)) ==
               all_of(recorder->before).empty(),
           "whether it was empty");
    for (const auto &[cls, properties] : kinds) {
      const Items *changed = find(recorder->changed, cls), *deleted = find(recorder->deleted, cls);
      const auto it = vorn_changes_new_class_instances_iterator(recorder->real, cls.c_str());
      check_list(changed ? *changed : Items(), it);
      const auto gone = vorn_changes_new_deleted_class_instances_iterator(recorder->real, cls.c_str());
      check_list(deleted ? *deleted : Items(), gone);
    }
  }
  for (Walk &walk : walks_) {
    const Items all = all_of(wanted);
    if (walk.over == &of)
      std::erase_if(walk.due, [&](auto &item) { return !std::count(all.begin(), all.end(), item); });
  }
}

void History::step() {
  Collection &of = transaction_ && below(2) ? *transaction_ : *base_;
  const unsigned kind = below(100);
  if (kind < 25)
    set(of);
  else if (kind < 50)
    add(of);
  else if (kind < 62)
    remove(of);
  else if (kind < 65)
    drop(of);
  else if (kind < 70)
    record(of);
  else if (kind < 74)
    end_recorder(of);
  else if (kind < 82)
    ask(of);
  else if (kind < 85)
    touch(of);
  else if (kind < 88)
    walk(of);
  else if (kind < 96)
    go_on();
  else if (!transaction_)
    begin_transaction();
  else if (kind < 98)
    end_transaction();
  if (transaction_ && transaction_->real->overlay->fault() == vorn::Overlay::Fault::memory) end_transaction();
  check(*base_, true);
  if (transaction_) check(*transaction_, below(4) == 0);
}

void History::run(int steps) {
  for (int count = 0; count < steps && !failed_; ++count) step();
  if (!failed_) return;
  std::string last;
  for (const std::string &text : notes_) last += text + "\n";
  ADD_FAILURE() << "The last steps:\n" << last;
}

History::~History() {
  failed_ = true;
  if (transaction_) end_transaction();
  for (Walk &walk : walks_) vorn_instances_delete_iterator(walk.real);
  for (Recorder *recorder : base_->recorders) {
    vorn_changes_delete(recorder->real);
    delete recorder;
  }
  vorn_instances_delete_all(base_->real);
  free_loose();
}

// VORN_HISTORIES asks for another number of histories.
void play(unsigned count, bool scarce) {
  add_all_kinds();
  Log log; // of refusals
  const char *more = getenv("VORN_HISTORIES");
  if (more) count = static_cast<unsigned>(atol(more));
  for (unsigned seed = 1; seed <= count && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const long blocks = vorn::test::live_blocks;
    { History(seed, scarce).run(300); }
    EXPECT_TRUE(testing::Test::HasFailure() || vorn::test::live_blocks == blocks)
        << "blocks that were not freed";
  }
}

} // namespace

TEST(History, is_what_a_plain_model_tells) { play(40, false); }
TEST(History, is_the_same_where_allocations_fail) { play(40, true); }
