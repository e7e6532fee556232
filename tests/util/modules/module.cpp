// A module that tells where it was built to stand.
extern "C" int ModulePlace() {
  return MODULE_PLACE;
}
