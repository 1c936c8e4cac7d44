// Stand-in for Foundation: only the declarations Velloran's Objective-C++ uses, so that the files can be
// compiled for syntax and ARC rules on a machine without Apple's SDK. Not a usable framework.
#pragma once

typedef signed char BOOL;
#define YES ((BOOL)1)
#define NO ((BOOL)0)
typedef unsigned long NSUInteger;
typedef unsigned short unichar;
#define nil nullptr

@protocol NSObject
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
- (instancetype)init;
+ (Class)class;
- (BOOL)isKindOfClass:(Class)aClass;
@end

@interface NSString : NSObject
@property (readonly) NSUInteger length;
- (instancetype)initWithCharacters:(const unichar *)characters length:(NSUInteger)length;
- (BOOL)hasPrefix:(NSString *)prefix;
- (BOOL)containsString:(NSString *)string;
@end

typedef struct
{
    unsigned long state;
    id __unsafe_unretained *itemsPtr;
    unsigned long *mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState *)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)len;
@end

@interface NSArray<ObjectType> : NSObject <NSFastEnumeration>
@property (readonly) NSUInteger count;
@end

@interface NSBundle : NSObject
@property (class, readonly, strong) NSBundle *mainBundle;
- (id)objectForInfoDictionaryKey:(NSString *)key;
@end

typedef NSString *NSNotificationName;

@interface NSNotification : NSObject
@end

@interface NSOperationQueue : NSObject
@property (class, readonly, strong) NSOperationQueue *mainQueue;
@end

@interface NSNotificationCenter : NSObject
@property (class, readonly, strong) NSNotificationCenter *defaultCenter;
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)obj
                             queue:(NSOperationQueue *)queue
                        usingBlock:(void (^)(NSNotification *notification))block;
- (void)removeObserver:(id)observer;
@end
