// Branches replaying their changes at one headquarters at the same time, as the outbox of each
// sends them: the replay record, the batch the screen ran at the branch, the t_Log row; changes
// computed from values read at headquarters are checked against those values when they commit.
#include "ChainLoad.h"

#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "module/cards/CardStatusRules.h"
#include "module/points/PointsStatements.h"
#include "module/storedvalue/StoredValueStatements.h"
#include "platform/BalanceCodec.h"
#include "platform/BusinessObjects.h"
#include "platform/Clock.h"
#include "platform/Text.h"

namespace ormex::bench {

namespace {

namespace points = ormex::module::points;
namespace storedvalue = ormex::module::storedvalue;

enum Kind { Recharge, Deduction, Exchange, CardStatus, SmallBatch, BigBatch, KindCount };
constexpr std::array<const char*, KindCount> kKindNames = {
    "recharge",    "points deduction",      "gift exchange",
    "card status", "batch recharge 10-100", "deduction of 10,000"};

constexpr long kBigBatchCards = 10000;

class Branch
{
public:
    Branch(const HqDatabase& hq, int number, long cards, unsigned seed)
        : m_db(hq.connect()), m_id(std::to_string(number)), m_cards(cards), m_random(seed)
    {
        m_no = (number < 10 ? "0" : "") + m_id;
        m_origin = "bench-" + m_id + "-" + std::to_string(seed);
        m_log = "\r\nINSERT INTO t_Log "
                "(FDate,FUserID,FFunctionID,FStatement,FDescription,FMachineName,FIPAddress)"
                " VALUES (getdate()," +
                std::string(kUserId) + ",'MCM0001',5,'分店[" + m_no + "]进行储值管理','bench','127.0.0.1')";
    }

    // Replays changes until `stop`; each change's time goes to its kind.
    void run(const std::atomic<bool>& stop, std::array<KindFigures, KindCount>& figures)
    {
        while (!stop.load()) {
            const int draw = static_cast<int>(m_random() % 100);
            const Kind kind = draw < 35   ? Recharge
                              : draw < 65 ? Deduction
                              : draw < 75 ? Exchange
                              : draw < 90 ? CardStatus
                                          : SmallBatch;
            const auto start = std::chrono::steady_clock::now();
            change(kind, figures[kind].rereads);
            figures[kind].seconds.push_back(secondsSince(start));
        }
    }

    // The points deduction of cards 1 … count, their points read first (a thousand at a time).
    void bigDeduction(long count, long& rereads)
    {
        for (;;) {
            std::string batch;
            std::vector<platform::ReadCheck> checks;
            for (long first = 1; first <= count; first += 1000) {
                std::vector<std::string> cards;
                for (long i = first; i <= count && i < first + 1000; ++i)
                    cards.push_back(cardId(i));
                const auto read = readCards(cards, "FAccNum, FDecNum");
                for (const std::string& card : cards) {
                    const auto& [accumulated, used] = read.at(card);
                    checks.push_back({pointsRead(card, "FAccNum"), "FAccNum", accumulated});
                    checks.push_back({pointsRead(card, "FDecNum"), "FDecNum", used});
                    batch += points::DeductionGroup(session(), static_cast<int>(checks.size() / 2), card,
                                                    static_cast<double>(1 + m_random() % 20),
                                                    accumulated.toDouble(), used.toDouble());
                }
            }
            if (send(batch, checks)) return;
            ++rereads;
        }
    }

private:
    void change(Kind kind, long& rereads)
    {
        for (;;) {
            std::string batch;
            std::vector<platform::ReadCheck> checks;
            switch (kind) {
            case Recharge: {
                const std::string card = randomCard();
                batch = recharge(card, m_db->query(balanceRead(card)).field("FResidualAmt"), checks);
                break;
            }
            case Deduction:
                batch = deduction(randomCard(), 1, checks);
                break;
            case Exchange:
                batch = points::ExchangeGroup(session(), 1, randomCard(), {m_id, m_no, "101", "1", "10", "0"},
                                              10);
                break;
            case CardStatus:
                m_lost = !m_lost;
                batch = module::cards::statusUpdateStatement(m_lost ? '2' : '0', randomCard());
                break;
            case SmallBatch: {
                std::set<std::string> chosen;
                const long size = 10 + static_cast<long>(m_random() % 91);
                while (static_cast<long>(chosen.size()) < size)
                    chosen.insert(randomCard());
                // The branch reads the cards' balances at once, as it lists them.
                const std::vector<std::string> cards(chosen.begin(), chosen.end());
                const auto read = readCards(cards, "FResidualAmt");
                for (const std::string& card : cards)
                    batch += recharge(card, read.at(card).first, checks);
                break;
            }
            default:
                return;
            }
            if (send(batch, checks)) return;
            ++rereads; // read again, computed again, sent again
        }
    }

    // False when a value the change was computed from changed before it could commit.
    bool send(const std::string& batch, const std::vector<platform::ReadCheck>& checks)
    {
        const std::string replay = "insert into t_HqReplay (FOrigin,FSeq,FBranchNo,FDigest,FDate) values ('" +
                                   m_origin + "'," + std::to_string(++m_seq) + ",'" + m_no +
                                   "','-',getdate())\r\n" + batch + m_log;
        try {
            m_db->executeChecked(replay, checks);
            return true;
        } catch (const platform::ChangedSinceReadError&) {
            return false;
        }
    }

    static std::string balanceRead(const std::string& card)
    {
        return "select FResidualAmt from T_Pos_VipRecord where FCardId='" + card + "'";
    }
    static std::string pointsRead(const std::string& card, const char* column)
    {
        return std::string("select ") + column + " from T_Pos_VipRecord where FCardId='" + card + "'";
    }

    // The columns (one or two) of each card, by card, read in one query.
    std::map<std::string, std::pair<platform::Value, platform::Value>>
    readCards(const std::vector<std::string>& cards, const std::string& columns)
    {
        std::string list;
        for (const std::string& card : cards)
            list += (list.empty() ? "'" : ",'") + card + "'";
        auto rows = m_db->query("select FCardId, " + columns + " from T_Pos_VipRecord where FCardId in (" +
                                list + ")");
        std::map<std::string, std::pair<platform::Value, platform::Value>> read;
        for (; !rows.atEnd(); rows.moveNext())
            read[rows.field(std::size_t{0}).toString()] = {
                rows.field(std::size_t{1}),
                rows.columns().size() > 2 ? rows.field(std::size_t{2}) : platform::Value()};
        return read;
    }

    std::string recharge(const std::string& card, const platform::Value& stored,
                         std::vector<platform::ReadCheck>& checks)
    {
        checks.push_back({balanceRead(card), "FResidualAmt", stored});
        const platform::Money balance =
            platform::tryDecodeMoney(stored.toString()).value_or(platform::Money());
        const platform::Money amount =
            platform::Money::fromUnits(static_cast<long long>(1 + m_random() % 20000) * 100);
        const storedvalue::Recharge r{
            card, amount, amount, balance, balance + amount, balance + amount, "", platform::now().toString(),
            "1"};
        return storedvalue::RechargeStatements({kUserId, m_id, m_no}, r);
    }

    std::string deduction(const std::string& card, int n, std::vector<platform::ReadCheck>& checks)
    {
        const std::string acc = pointsRead(card, "FAccNum");
        const std::string dec = pointsRead(card, "FDecNum");
        const platform::Value accumulated = m_db->query(acc).field("FAccNum");
        const platform::Value used = m_db->query(dec).field("FDecNum");
        checks.push_back({acc, "FAccNum", accumulated});
        checks.push_back({dec, "FDecNum", used});
        return points::DeductionGroup(session(), n, card, static_cast<double>(1 + m_random() % 20),
                                      accumulated.toDouble(), used.toDouble());
    }

    points::PointsSession session() const { return {m_id, m_no, kUserId}; }
    std::string randomCard()
    {
        return cardId(1 + static_cast<long>(m_random() % static_cast<unsigned long>(m_cards)));
    }

    std::unique_ptr<db::PgDatabase> m_db;
    std::string m_id, m_no, m_origin, m_log;
    long m_cards;
    std::mt19937 m_random;
    long m_seq = 0;
    bool m_lost = false;
};

// What differs between the cards and their movements, or between the changes made and the
// replays recorded; empty when nothing does.
std::string inconsistencies(HqDatabase& hq, long changesSoFar)
{
    auto rows = hq.admin().queryNative(
        "SELECT r.FCardId, r.FResidualAmt, r.FAccNum, r.FDecNum,"
        " (SELECT coalesce(sum(CAST(FPlusAmt AS numeric)), 0) FROM T_Pos_AddMoneyList m WHERE m.FCardId = "
        "r.FCardId),"
        " (SELECT coalesce(sum(FVipNum), 0) FROM T_Pos_VipGiftList g WHERE g.FCardId = r.FCardId"
        "   AND g.flag IN ('1', '2')) FROM T_Pos_VipRecord r");
    long wrong = 0;
    std::string first;
    for (; !rows.atEnd(); rows.moveNext()) {
        const auto balance = platform::tryDecodeMoney(rows.field(std::size_t{1}).toString());
        const platform::Money expected = platform::Money::ofDouble(kOpeningBalance) +
                                         platform::Money::ofDouble(rows.field(std::size_t{4}).toDouble());
        const bool pointsRight =
            rows.field(std::size_t{2}).toDouble() == kOpeningPoints &&
            rows.field(std::size_t{3}).toDouble() == rows.field(std::size_t{5}).toDouble();
        if (balance == expected && pointsRight) continue;
        if (++wrong == 1)
            first = rows.field(std::size_t{0}).toString() + " holds " +
                    (balance ? balance->toString() : "?") + " / " + rows.field(std::size_t{3}).toString() +
                    " used, its movements say " + expected.toString() + " / " +
                    rows.field(std::size_t{5}).toString();
    }
    if (wrong) return std::to_string(wrong) + " cards differ from their movements, e.g. " + first;
    const long recorded =
        hq.admin().queryNative("SELECT count(*) FROM t_HqReplay").field(std::size_t{0}).toInt();
    if (recorded != changesSoFar)
        return std::to_string(changesSoFar) + " changes were made but headquarters recorded " +
               std::to_string(recorded);
    return {};
}

} // namespace

long ChainFigures::changes() const
{
    long count = 0;
    for (const KindFigures& kind : kinds)
        if (kind.kind != kKindNames[BigBatch]) count += static_cast<long>(kind.seconds.size());
    return count;
}

ChainFigures chainLoad(HqDatabase& hq, int branches, double seconds, long cards, bool bigBatch)
{
    static long changesSoFar = 0;
    ChainFigures figures;
    figures.branches = branches;
    std::vector<std::array<KindFigures, KindCount>> perBranch(static_cast<std::size_t>(branches + 1));
    std::vector<std::unique_ptr<Branch>> chain;
    for (int b = 0; b < branches; ++b)
        chain.push_back(
            std::make_unique<Branch>(hq, b + 1, cards, static_cast<unsigned>(1000 * branches + b)));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    std::mutex failures;
    auto guarded = [&](auto work) {
        return [&, work] {
            try {
                work();
            } catch (const std::exception& error) {
                std::lock_guard<std::mutex> lock(failures);
                figures.problem += std::string(figures.problem.empty() ? "" : "; ") + error.what();
            }
        };
    };
    const auto start = std::chrono::steady_clock::now();
    for (int b = 0; b < branches; ++b)
        threads.emplace_back(guarded([&, b] {
            chain[static_cast<std::size_t>(b)]->run(stop, perBranch[static_cast<std::size_t>(b)]);
        }));
    if (bigBatch)
        threads.emplace_back(guarded([&] {
            Branch promotion(hq, 1, cards, static_cast<unsigned>(1000 * branches + 999));
            auto& big = perBranch.back()[BigBatch];
            const auto begun = std::chrono::steady_clock::now();
            promotion.bigDeduction(std::min(kBigBatchCards, cards), big.rereads);
            big.seconds.push_back(secondsSince(begun));
        }));
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    stop = true;
    // The branches' changes per second count until the last of them ended; the big batch may go on.
    for (int b = 0; b < branches; ++b)
        threads[static_cast<std::size_t>(b)].join();
    figures.seconds = secondsSince(start);
    for (std::size_t t = static_cast<std::size_t>(branches); t < threads.size(); ++t)
        threads[t].join();
    for (int k = 0; k < KindCount; ++k) {
        KindFigures kind{kKindNames[static_cast<std::size_t>(k)], {}, 0};
        for (const auto& branch : perBranch) {
            const KindFigures& part = branch[static_cast<std::size_t>(k)];
            kind.seconds.insert(kind.seconds.end(), part.seconds.begin(), part.seconds.end());
            kind.rereads += part.rereads;
        }
        figures.kinds.push_back(std::move(kind));
    }
    changesSoFar += figures.changes() + static_cast<long>(figures.kinds[BigBatch].seconds.size());
    if (figures.problem.empty()) figures.problem = inconsistencies(hq, changesSoFar);
    return figures;
}

} // namespace ormex::bench
