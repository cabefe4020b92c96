#include <gtest/gtest.h>

#include <string>

#include "platform/corefoundation/object.h"

namespace {

TEST(ConstantString, IsOneObjectForEachText) {
  const std::string elsewhere = "NewGWorld";
  EXPECT_EQ(CFSTR("NewGWorld"), __CFStringMakeConstantString(elsewhere.c_str()));
  EXPECT_NE(CFSTR("NewGWorld"), CFSTR("NewGWorlds"));
  EXPECT_EQ(CFSTR("NewGWorld")->characters, "NewGWorld");
}

TEST(Dictionary, FindsValuesByTheTextOfTheirKeys) {
  auto* dictionary = new __CFDictionary;
  dictionary->Add("BitsPerSample", 8);
  dictionary->Add("SamplesPerPixel", 3);
  auto* key = new __CFString("SamplesPerPixel");
  SInt32 value = 0;
  const void* number = CFDictionaryGetValue(dictionary, key);
  EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt32Type, &value));
  EXPECT_EQ(value, 3);
  EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("BitsPerPixel")), nullptr);
  CFRelease(key);
  CFRelease(dictionary);
}

TEST(Number, IsGivenInTheSupportedTypeOnly) {
  auto* number = new __CFNumber(-7);
  int64_t value = 1;
  EXPECT_FALSE(CFNumberGetValue(number, 4, &value));
  EXPECT_EQ(value, 1);
  CFRelease(number);
}

}  // namespace
