#pragma once
// How a type declares itself to the framework.
//
//   struct Repeat : ArgumentParser::ParsableCommand {
//     Option<int> count{{.help = "How many times"}};
//     Flag<bool> verbose{false, {.name = NameSpecification::shortAndLong()}};
//
//     static CommandConfiguration configuration() { return {.abstract = "Repeats."}; }
//     static void declare(Declarations<Repeat>& d) {
//       d("count", &Repeat::count)("verbose", &Repeat::verbose);
//     }
//     void run() override;
//   };
//
// `declare` registers the declared properties in declaration order with the
// labels that are their coding keys; that order is the order of usage, help
// and positional parsing. Optional static members: `configuration()`,
// `errorLabel()`. A command type is reached through `typeOf<T>()`.

#include <cxxabi.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "argument_parser/argument_decoder.h"
#include "argument_parser/command_configuration.h"
#include "argument_parser/errors.h"

namespace ArgumentParser {

// A type built from parsed values.
class ParsableArguments {
 public:
  virtual ~ParsableArguments() = default;
  // Checks the parsed values; throws ValidationError (or any error) to stop.
  virtual void validate() {}
};

// A ParsableArguments that runs.
class ParsableCommand : public ParsableArguments {
 public:
  // The command's work; may throw ExitCode, CleanExit, ValidationError or
  // any other error.
  virtual void run() {}
};

// A declared property of T that offers definitions and takes its value back.
template <class T>
struct PropertyDeclaration {
  std::string label;
  std::function<ArgumentSet(const T&, const InputKey&, ArgumentVisibility)> definitions;
  std::function<void(T&, ArgumentDecoder&, const InputKey&)> decode;
};

template <class W>
concept DeclaredWrapper = requires(const W& w, W& m, const InputKey& key, ArgumentVisibility v, ArgumentDecoder& d) {
  { w.argumentSet(key, v) } -> std::same_as<ArgumentSet>;
  m.decode(d, key);
};

template <class T>
class Declarations {
 public:
  // A Flag, Option, Argument or OptionGroup member.
  template <DeclaredWrapper W>
  Declarations& operator()(std::string label, W T::*member) {
    properties_.push_back(PropertyDeclaration<T>{
        std::move(label),
        [member](const T& value, const InputKey& key, ArgumentVisibility visibility) {
          return (value.*member).argumentSet(key, visibility);
        },
        [member](T& value, ArgumentDecoder& decoder, const InputKey& key) { (value.*member).decode(decoder, key); }});
    return *this;
  }
  // Any other stored property: a definition with no names, so that decoding
  // finds it; it keeps the value of the default instance.
  template <class V>
    requires(!DeclaredWrapper<V>)
  Declarations& plain(std::string label, V T::*) {
    properties_.push_back(PropertyDeclaration<T>{
        std::move(label),
        [](const T&, const InputKey& key, ArgumentVisibility) {
          ArgumentDefinition definition;
          definition.kind = ArgumentDefinition::Kind::default_();
          definition.help.keys = {key};
          definition.help.options = ArgumentDefinition::Help::isOptional;
          definition.update = ArgumentDefinition::Update::makeNullary([](auto&, auto&, auto&) {});
          definition.initial = [](auto&, auto&) {};
          return ArgumentSet(std::move(definition));
        },
        [](T&, ArgumentDecoder&, const InputKey&) {}});
    return *this;
  }

  const std::vector<PropertyDeclaration<T>>& properties() const { return properties_; }

 private:
  std::vector<PropertyDeclaration<T>> properties_;
};

std::string demangledTypeName(const char* mangled);
// Keeps the definitions at or above the visibility.
ArgumentSet filtered(const ArgumentSet& set, ArgumentVisibility visibility);

// Declared once per type: the declarations name members, never values.
template <class T>
const std::vector<PropertyDeclaration<T>>& declaredProperties() {
  static const std::vector<PropertyDeclaration<T>> properties = [] {
    Declarations<T> declarations;
    if constexpr (requires { T::declare(declarations); }) T::declare(declarations);
    return declarations.properties();
  }();
  return properties;
}

template <class T>
CommandTypeInfo makeTypeInfo() {
  static_assert(std::is_base_of_v<ParsableArguments, T>, "a declared type derives from ParsableArguments");
  static_assert(std::is_default_constructible_v<T>, "a declared type has a default instance");
  std::string errorLabel = "Error";
  if constexpr (requires { std::string(T::errorLabel()); }) errorLabel = T::errorLabel();
  CommandTypeInfo::Functions functions;
  functions.configuration = []() -> CommandConfiguration {
    if constexpr (requires { CommandConfiguration(T::configuration()); })
      return T::configuration();
    else
      return CommandConfiguration{};
  };
  functions.argumentSet = [](ArgumentVisibility visibility, const std::vector<std::string>& parentPath) {
    const T instance{};
    ArgumentSet set;
    for (const auto& property : declaredProperties<T>())
      set.append(filtered(property.definitions(instance, InputKey(property.label, parentPath), visibility), visibility));
    return set;
  };
  functions.decode = [](ArgumentDecoder& decoder,
                        const std::vector<std::string>& codingPath) -> std::shared_ptr<ParsableArguments> {
    auto value = std::make_shared<T>();
    for (const auto& property : declaredProperties<T>())
      property.decode(*value, decoder, InputKey(property.label, codingPath));
    return value;
  };
  return CommandTypeInfo(demangledTypeName(typeid(T).name()), std::is_base_of_v<ParsableCommand, T>,
                         std::move(errorLabel), std::move(functions));
}

// The one handle of the type T.
template <class T>
CommandType typeOf() {
  static const CommandTypeInfo info = makeTypeInfo<T>();
  return &info;
}

}  // namespace ArgumentParser
