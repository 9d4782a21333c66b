// SPDX-License-Identifier: MIT
#include "host/redis/redis_pipeline.h"

#include <cerrno>
#include <utility>

namespace host {

void RedisPipeline::open(std::unique_ptr<RedisLink> link, const std::string& password, int database)
{
    close();
    link_ = std::move(link);
    const Sent sent{Kind::opening, machine_us()};
    if (!password.empty())
        append(sent, {{"AUTH", password}});
    const std::string number = std::to_string(database);
    append(sent, {{"SELECT", number}});
}

void RedisPipeline::close()
{
    link_.reset();
    sent_.clear();
    questions_ = 0;
    queue_error_.clear();
    refusal_.clear();
}

void RedisPipeline::append(Sent sent, std::span<const std::string_view> words)
{
    link_->append(words);
    sent_.push_back(std::move(sent));
}

void RedisPipeline::write(std::uint64_t id, std::span<const Write> writes)
{
    // One MSET for values that stand together, one DEL for each removal.
    const Sent queued{Kind::queued, machine_us()};
    Sent last{Kind::write, queued.time_us, id};
    std::vector<std::vector<std::string_view>> commands;
    for (const Write& write : writes) {
        if (!write.value) {
            commands.push_back({"DEL", write.key});
            last.removed.emplace_back(write.key);
            continue;
        }
        if (commands.empty() || commands.back().front() != "MSET")
            commands.push_back({"MSET"});
        commands.back().push_back(write.key);
        commands.back().push_back(*write.value);
        last.sets = true;
    }
    if (commands.size() == 1) {
        append(std::move(last), commands.front());
    } else if (!commands.empty()) {
        append(queued, {{"MULTI"}});
        for (const auto& command : commands)
            append(queued, command);
        append(std::move(last), {{"EXEC"}});
    }
}

void RedisPipeline::publish(std::string_view channel, std::string_view payload)
{
    append({Kind::signal, machine_us()}, {{"PUBLISH", channel, payload}});
}

void RedisPipeline::ask(std::initializer_list<std::string_view> words)
{
    append({Kind::question, machine_us()}, std::span(words.begin(), words.size()));
    ++questions_;
}

int RedisPipeline::answers(std::vector<Reply>& replies, std::uint64_t deadline_us)
{
    replies.clear();
    const std::uint64_t start = machine_us();
    int error = handle_replies(&replies);
    while (error == 0 && questions_ > 0) {
        error = link_->wait(deadline_us);
        if (error == 0)
            error = handle_replies(&replies);
    }
    budget_.use(machine_us() - start);
    return error;
}

int RedisPipeline::take()
{
    if (const int error = link_->receive(); error != 0)
        return error;
    return handle_replies(nullptr);
}

int RedisPipeline::handle_replies(std::vector<Reply>* replies)
{
    int error = 0;
    while (Reply reply = link_->next(error)) {
        if (sent_.empty())
            return -EPROTO; // an answer to nothing
        const Sent sent = std::move(sent_.front());
        sent_.pop_front();
        if (is_error(*reply))
            last_error_ = text_of(*reply);
        if (sent.kind == Kind::question) {
            --questions_;
            if (replies == nullptr)
                return -EPROTO;
            replies->push_back(std::move(reply));
        } else {
            handle(sent, *reply);
        }
    }
    return error;
}

void RedisPipeline::handle(const Sent& sent, const redisReply& reply)
{
    switch (sent.kind) {
    case Kind::opening:
        if (is_error(reply) && refusal_.empty())
            refusal_ = text_of(reply);
        break;
    case Kind::queued:
        if (is_error(reply) && queue_error_.empty())
            queue_error_ = text_of(reply);
        break;
    case Kind::write:
        finish_write(sent, reply);
        break;
    case Kind::signal: // nobody may listen: any answer will do
    case Kind::question:
        break;
    }
}

void RedisPipeline::finish_write(const Sent& sent, const redisReply& reply)
{
    // A refused command inside the group says why; the group's own error only that it failed.
    std::string error = std::exchange(queue_error_, {});
    std::vector<std::string> not_there;
    auto removed = sent.removed.begin();
    const auto look = [&](const redisReply& result) {
        if (is_error(result) && error.empty())
            error = text_of(result);
        if (result.type != REDIS_REPLY_INTEGER || removed == sent.removed.end())
            return;
        if (result.integer == 0)
            not_there.push_back(*removed);
        ++removed;
    };
    look(reply);
    if (reply.type == REDIS_REPLY_ARRAY) {
        for (std::size_t i = 0; i < reply.elements; ++i)
            look(*reply.element[i]);
    }
    owner_.write_finished({sent.id, error, sent.sets, not_there});
}

void ask_keys(RedisPipeline& pipeline, std::string_view cursor)
{
    pipeline.ask({"SCAN", cursor, "COUNT", "1000"});
}

const redisReply* take_keys(const redisReply& reply, std::string& cursor)
{
    if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2)
        return nullptr;
    cursor = text_of(*reply.element[0]);
    return reply.element[1];
}

} // namespace host
