#include "DescriptionValue.h"

#include <algorithm>
#include <set>

#include "InputFile.h"

using Json = nlohmann::json;

namespace {

constexpr std::size_t SHOWN_VALUE_LENGTH_MAX = 40;

} // namespace

void
DescriptionValue::Refuse (std::string_view Expected) const
{
  std::string Found = Content.dump (-1, ' ', true, Json::error_handler_t::replace);
  if (Found.size () > SHOWN_VALUE_LENGTH_MAX) {
    Found = Found.substr (0, SHOWN_VALUE_LENGTH_MAX) + "...";
  }
  throw InputError (fmt::format ("{}: {}: expected {}, found {}", File, Path, Expected, Found));
}

void
DescriptionValue::RefuseKey (std::string_view Expected) const
{
  throw InputError (fmt::format ("{}: {}: expected {}", File, Path, Expected));
}

void
DescriptionValue::AllowOnly (const Keys &Allowed) const
{
  for (const auto &[Key, Value] : Members ()) {
    if (std::ranges::find (Allowed, Key) == Allowed.end ()) {
      Value.RefuseKey (fmt::format ("no such key here, only {}", fmt::join (Allowed, ", ")));
    }
  }
}

bool
DescriptionValue::Has (std::string_view Key) const
{
  return Content.is_object () && Content.contains (Key);
}

DescriptionValue
DescriptionValue::operator[] (std::string_view Key) const
{
  if (!Content.is_object ()) {
    Refuse ("an object");
  }
  if (!Has (Key)) {
    throw InputError (fmt::format ("{}: {}: expected a value, found none", File, Below (Key)));
  }
  return {File, Content.at (std::string (Key)), Below (Key)};
}

std::vector<DescriptionValue>
DescriptionValue::List () const
{
  if (!Content.is_array ()) {
    Refuse ("a list");
  }
  std::vector<DescriptionValue> Elements;
  for (std::size_t Index = 0; Index < Content.size (); ++Index) {
    Elements.push_back ({File, Content[Index], fmt::format ("{}[{}]", Path, Index)});
  }
  return Elements;
}

std::vector<std::pair<std::string, DescriptionValue>>
DescriptionValue::Members () const
{
  if (!Content.is_object ()) {
    Refuse ("an object");
  }
  std::vector<std::pair<std::string, DescriptionValue>> Found;
  for (const auto &Item : Content.items ()) {
    Found.emplace_back (Item.key (), DescriptionValue{File, Item.value (), Below (Item.key ())});
  }
  return Found;
}

std::optional<uint64_t>
DescriptionValue::AnyNumber () const
{
  if (Content.is_number_unsigned ()) {
    return Content.get<uint64_t> ();
  }
  return Content.is_string () ? ParseNumber (Content.get_ref<const std::string &> ())
                              : std::nullopt;
}

bool
DescriptionValue::Flag () const
{
  if (!Content.is_boolean ()) {
    Refuse ("true or false");
  }
  return Content.get<bool> ();
}

std::string
DescriptionValue::Text () const
{
  const std::string *Read = Content.get_ptr<const std::string *> ();
  if (Read == nullptr || !IsPrintableAscii (*Read)) {
    Refuse ("a text of printable ASCII characters");
  }
  return *Read;
}

bool
DescriptionValue::IsNull () const
{
  return Content.is_null ();
}

bool
DescriptionValue::Is (std::string_view Expected) const
{
  return Content == Expected;
}

std::string
DescriptionValue::Below (std::string_view Key) const
{
  return fmt::format ("{}.{}", Path, Key);
}

/// The parser alone would let the last of several equal keys win.
Json
ParseDescription (const std::string &File, std::string_view Content)
{
  std::vector<std::set<std::string>> KeysSeen;
  const auto Check = [&] (int, Json::parse_event_t Event, const Json &Parsed) {
    if (Event == Json::parse_event_t::object_start) {
      KeysSeen.emplace_back ();
    } else if (Event == Json::parse_event_t::object_end) {
      KeysSeen.pop_back ();
    } else if (Event == Json::parse_event_t::key && !KeysSeen.back ().insert (Parsed).second) {
      throw InputError (fmt::format ("{}: expected each key of an object once, {} comes again",
                                     File, Parsed.dump ()));
    }
    return true;
  };
  try {
    return Json::parse (Content, Check);
  } catch (const Json::parse_error &Error) {
    // The library's text starts with the name of the exception in brackets.
    const std::string_view Text = Error.what ();
    throw InputError (fmt::format ("{}: {}", File, Text.substr (Text.find ("] ") + 2)));
  }
}
